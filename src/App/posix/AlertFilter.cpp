#include "AlertFilter.h"

#include <algorithm>
#include <iterator>

namespace {

// Whether both are changes of the same state.
bool isSameState(const InsightEvent& one, const InsightEvent& other) {
    const bool isOfKind = one.type != InsightEvent::kPeerChanged;
    return one.type == other.type && one.row == other.row && (!isOfKind || one.protocol == other.protocol);
}

bool isBack(const InsightEvent& first, const InsightEvent& second) {
    switch (first.type) {
        case InsightEvent::kKindChanged:
            return second.kindAfter == first.kindBefore;
        case InsightEvent::kPeerChanged:
            return second.peerAfter == first.peerBefore;
        default:
            return second.outAfter == SendState::kOpen;
    }
}

}  // namespace

void AlertFilter::take(const InsightEvent& event, std::vector<InsightEvent>& due) {
    switch (event.type) {
        case InsightEvent::kKindChanged:
        case InsightEvent::kPeerChanged:
        case InsightEvent::kOutChanged:
            takeChange(event);
            break;
        case InsightEvent::kOutageBegan:
            m_held.push_back(event);
            break;
        case InsightEvent::kOutageEnded:
            if (!undoOutages(event)) {
                due.push_back(event);
            }
            break;
        default:
            due.push_back(event);
            break;
    }
}

void AlertFilter::takeChange(const InsightEvent& event) {
    const auto held = std::find_if(m_held.begin(), m_held.end(),
                                   [&event](const InsightEvent& each) { return isSameState(each, event); });
    if (held == m_held.end()) {
        m_held.push_back(event);
    } else if (isBack(*held, event)) {
        m_held.erase(held);
    } else {
        InsightEvent whole = event;
        whole.kindBefore = held->kindBefore;
        whole.peerBefore = held->peerBefore;
        whole.span100ns = held->span100ns;
        *held = whole;
    }
}

// Takes out the begins that belong to this end. Returns false if there are none.
bool AlertFilter::undoOutages(const InsightEvent& end) {
    const auto isPart = [&end](const InsightEvent& each) {
        return each.type == InsightEvent::kOutageBegan && each.row == end.row && (each.kinds & ~end.kinds) == 0;
    };
    const auto first = std::remove_if(m_held.begin(), m_held.end(), isPart);
    const bool isAny = first != m_held.end();
    m_held.erase(first, m_held.end());
    return isAny;
}

void AlertFilter::passTime(std::uint64_t now100ns, std::vector<InsightEvent>& due) {
    const auto isDue = [this, now100ns](const InsightEvent& each) {
        return spanBetween(each.at, {now100ns, 0}) >= m_wait100ns;
    };
    std::copy_if(m_held.begin(), m_held.end(), std::back_inserter(due), isDue);
    m_held.erase(std::remove_if(m_held.begin(), m_held.end(), isDue), m_held.end());
}
