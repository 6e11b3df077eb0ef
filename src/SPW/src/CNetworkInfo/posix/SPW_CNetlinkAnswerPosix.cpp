#include "SPW_CNetlinkAnswerPosix.h"

#include <linux/netlink.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

using SPW_CNetlinkAnswerPosix::Answer;

// Both messages that end an answer begin with an error number, negative as the kernel has it. One that is cut off says
// nothing that could be trusted.
int errorOf(std::string_view body) {
    int error;
    if (body.size() < sizeof error) {
        return EBADMSG;
    }
    std::memcpy(&error, body.data(), sizeof error);
    return error < 0 && error >= -4095 ? -error : 0;
}

// The end of the table; or, where the kernel broke off in the middle of it, why.
void readEnd(std::string_view body, Answer& answer) {
    answer.error = body.empty() ? 0 : errorOf(body);
    answer.progress = answer.error == 0 ? SPW_CNetlinkAnswerPosix::kComplete : SPW_CNetlinkAnswerPosix::kRefused;
}

void readError(std::string_view body, Answer& answer) {
    answer.error = errorOf(body);
    // "No error" would confirm a request that asked for confirmation; ours did not.
    if (answer.error == 0) {
        answer.error = EBADMSG;
    }
    answer.progress = SPW_CNetlinkAnswerPosix::kRefused;
}

}  // namespace

Answer SPW_CNetlinkAnswerPosix::examine(std::string_view datagram) {
    Answer answer;
    nlmsghdr head;
    while (answer.progress == kMore && datagram.size() >= sizeof head) {
        std::memcpy(&head, datagram.data(), sizeof head);
        if (head.nlmsg_len < sizeof head || head.nlmsg_len > datagram.size()) {
            break;
        }
        const std::string_view body = datagram.substr(sizeof head, head.nlmsg_len - sizeof head);
        answer.isOutdated = answer.isOutdated || (head.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (head.nlmsg_type == NLMSG_DONE) {
            readEnd(body, answer);
        } else if (head.nlmsg_type == NLMSG_ERROR) {
            readError(body, answer);
        }
        datagram.remove_prefix(std::min<std::size_t>(NLMSG_ALIGN(head.nlmsg_len), datagram.size()));
    }
    return answer;
}
