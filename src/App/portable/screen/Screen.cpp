#include "Screen.h"

#include <algorithm>

#include "AddPeerBox.h"
#include "DetailBox.h"
#include "DisplayWidth.h"
#include "EventBox.h"
#include "HelpText.h"
#include "SPW_CClock.h"

namespace {

constexpr int kTitleLine = 0;
constexpr int kButtonLine = 1;
constexpr int kListLine = 2;
constexpr std::int64_t kSecondMs = 1000;
constexpr std::uint64_t k100nsPerMs = 10000;
// The shortest column of a strip chart. Shorter periods share a column.
constexpr std::int64_t kLeastColumnMs = 1000;
constexpr int kWheelRows = 3;

const char16_t kInfoTitle[] = u"Local Info:";

}  // namespace

Screen::Screen(ScreenCommands& commands, std::int64_t durationMs)
    : m_commands(commands), m_durationMs(durationMs), m_title(u"Linkometry"), m_view(m_list) {}

// --- What the program tells

void Screen::ready(const SPW_CString& title, const SPW_CString& logFile) {
    m_isReady = true;
    m_title = title;
    showLog(logFile);
}

void Screen::testStarted(const SPW_CString& title, std::int32_t testNumber, std::int64_t periodMs) {
    m_title = title;
    m_status.state = StatusLine::kRunning;
    m_status.testNumber = testNumber;
    m_status.elapsedSeconds = 0;
    m_startedMs = m_nowMs;
    const std::int64_t period = std::max<std::int64_t>(periodMs, 1);
    m_chart = {std::max(period, kLeastColumnMs), 0, m_chart.zoom};
    m_probesPerColumn = static_cast<int>(m_chart.periodMs / period);
    m_nextColumnMs = m_nowMs + m_chart.periodMs;
    SPW_CString event;
    event.format(u"test %d started", testNumber);
    tell(event);
}

void Screen::testRefused() {
    m_status.state = StatusLine::kStopped;
    tell(u"the test was not started");
}

void Screen::testStopped() {
    m_status.state = StatusLine::kStopped;
    SPW_CString event;
    event.format(u"test %d complete", m_status.testNumber);
    tell(event);
}

void Screen::showInfo(const SPW_CString& text) {
    if (m_boxKind == kInfo) {
        static_cast<TextBox&>(*m_box).setText(text);
    }
}

void Screen::showMessage(int message, const SPW_CString& caption, const SPW_CString& text,
                         SPW_CMessageBox::Buttons buttons) {
    m_messages.push_back({message, std::make_unique<QuestionBox>(caption, text, buttons)});
}

void Screen::apply(const RowBoard::News& news) {
    if (news.isCleared) {
        m_list.clear();
    }
    for (const RowChange& change : news.changes) {
        if (m_list.apply(change) && m_status.state == StatusLine::kRunning) {
            tell(change.row.label() + u" found");
        }
    }
}

// --- Time

void Screen::tick(std::int64_t nowMs) {
    m_nowMs = nowMs;
    if (m_status.state != StatusLine::kRunning) {
        return;
    }
    m_list.setNow(static_cast<std::uint64_t>(nowMs) * k100nsPerMs);
    m_status.elapsedSeconds = static_cast<std::uint32_t>((nowMs - m_startedMs) / kSecondMs);
    closePeriods(nowMs);
    if (m_durationMs != kEndless && nowMs - m_startedMs >= m_durationMs) {
        press(kStopButton);
    }
}

// All that came since the last look belongs to the last period. If several periods have passed, nobody watched the
// others.
void Screen::closePeriods(std::int64_t nowMs) {
    if (nowMs < m_nextColumnMs) {
        return;
    }
    const std::int64_t unwatched = (nowMs - m_nextColumnMs) / m_chart.periodMs;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(unwatched, History::kMostPeriods); ++i) {
        m_list.skipPeriod();
    }
    m_list.closePeriod(m_probesPerColumn);
    m_nextColumnMs += (unwatched + 1) * m_chart.periodMs;
    const std::int64_t sinceEndMs = nowMs - (m_nextColumnMs - m_chart.periodMs);
    m_chart.endWall100ns = SPW_CClock::instance->wall100ns() - static_cast<std::uint64_t>(sinceEndMs) * k100nsPerMs;
}

std::int64_t Screen::msUntilTick(std::int64_t nowMs) const {
    constexpr std::int64_t kIdleMs = 60 * kSecondMs;
    if (m_status.state != StatusLine::kRunning) {
        return kIdleMs;
    }
    const std::int64_t sinceStart = nowMs - m_startedMs;
    std::int64_t due = kSecondMs - sinceStart % kSecondMs;
    due = std::min(due, m_nextColumnMs - nowMs);
    if (m_durationMs != kEndless) {
        due = std::min(due, m_durationMs - sinceStart);
    }
    return std::max(due, std::int64_t{0});
}

// --- The user

void Screen::handle(const Input& input) {
    if (input.isKey(Input::kRedraw)) {
        m_isRedrawWanted = true;
    } else if (!m_messages.empty()) {
        if (!m_messages.front().box->handle(input)) {
            answerFirstMessage();
        }
    } else if (m_box != nullptr) {
        if (!m_box->handle(input)) {
            open(kNoBox, nullptr);
        }
    } else if (input.kind == Input::kText) {
        handleText(input.character);
    } else if (input.kind == Input::kKey) {
        handleKey(input.key);
    } else if (input.kind == Input::kClick) {
        handleClick(input.x, input.y);
    } else {
        m_list.scroll(input.kind == Input::kWheelUp ? -kWheelRows : kWheelRows, m_view.lines());
    }
}

bool Screen::takeRedrawRequest() {
    const bool isWanted = m_isRedrawWanted;
    m_isRedrawWanted = false;
    return isWanted;
}

void Screen::answerFirstMessage() {
    const int number = m_messages.front().number;
    const SPW_CMessageBox::Answer answer = m_messages.front().box->answer();
    m_messages.erase(m_messages.begin());
    m_commands.answerMessage(number, answer);
}

void Screen::handleKey(Input::Key key) {
    const int row = m_list.selected();
    switch (key) {
        case Input::kUp:
            m_list.select(row - 1);
            break;
        case Input::kDown:
            m_list.select(row + 1);
            break;
        case Input::kPageUp:
            m_list.select(row - m_view.lines());
            break;
        case Input::kPageDown:
            m_list.select(row + m_view.lines());
            break;
        case Input::kHome:
            m_list.select(0);
            break;
        case Input::kEnd:
            m_list.select(m_list.size() - 1);
            break;
        case Input::kLeft:
            m_view.moveColumns(-1);
            break;
        case Input::kRight:
            m_view.moveColumns(1);
            break;
        case Input::kEnter:
            openDetail();
            break;
        default:
            break;
    }
}

void Screen::handleText(char32_t character) {
    switch (character) {
        case U' ':
            press(m_status.state == StatusLine::kRunning ? kStopButton : kStartButton);
            break;
        case U'j':
            m_list.select(m_list.selected() + 1);
            break;
        case U'k':
            m_list.select(m_list.selected() - 1);
            break;
        case U'o':
            sortByNextKey();
            break;
        case U'e':
            openEvents();
            break;
        case U'f':
            toggleFilter();
            break;
        case U'?':
        case U'h':
            open(kHelp, std::make_unique<TextBox>(u"Help", helpText()));
            break;
        default:
            press(static_cast<ScreenButton>(ButtonBar::buttonOfLetter(character)));
            break;
    }
}

void Screen::handleClick(int x, int y) {
    press(static_cast<ScreenButton>(m_buttons.buttonAt(x, y)));
    const int row = m_view.rowAt(x, y);
    if (row >= 0) {
        m_list.select(row);
        openDetail();
    }
}

void Screen::sortByNextKey() {
    const int next = m_list.sortKey() + 1;
    if (next < kScreenColumns) {
        m_list.sortBy(next);
        tell(u"sorted by " + screenColumnHeader(next));
    } else if (next == PeerList::kByState) {
        m_list.sortBy(PeerList::kByState);
        tell(u"sorted by state");
    } else {
        m_list.sortBy(PeerList::kUnsorted);
        tell(u"not sorted");
    }
}

void Screen::toggleFilter() {
    m_list.filter(!m_list.isFiltered());
    tell(m_list.isFiltered() ? u"only peers that are not well" : u"all peers");
}

bool Screen::isUsable(int button) const {
    switch (button) {
        case kStartButton:
            return m_isReady && m_status.state == StatusLine::kStopped;
        case kStopButton:
            return m_status.state == StatusLine::kRunning;
        case kQuitButton:
            return true;
        default:
            return m_isReady;
    }
}

void Screen::press(ScreenButton button) {
    if (button == kNoButton || !isUsable(button)) {
        return;
    }
    switch (button) {
        case kStartButton:
            startTest();
            break;
        case kStopButton:
            m_status.state = StatusLine::kStopping;
            m_commands.stopTest();
            break;
        case kResetButton:
            m_commands.resetStatistics();
            tell(u"all counts set to zero");
            break;
        case kLogButton:
            m_commands.logReport();
            break;
        case kAddIpButton:
            open(kAddPeer, std::make_unique<AddPeerBox>(m_commands));
            break;
        case kInfoButton:
            open(kInfo, std::make_unique<TextBox>(kInfoTitle, u"The system is being asked ..."));
            m_commands.askForInfo();
            break;
        default:
            m_isOver = true;
            break;
    }
}

void Screen::startTest() {
    m_list.clear();
    m_status.state = StatusLine::kStarting;
    m_status.testNumber = 0;
    tell(u"");
    m_commands.startTest();
}

void Screen::open(BoxKind kind, std::unique_ptr<ScreenBox> box) {
    m_boxKind = kind;
    m_box = std::move(box);
}

void Screen::openDetail() {
    if (m_list.size() > 0) {
        open(kDetail, std::make_unique<DetailBox>(m_list, m_commands, m_chart));
    }
}

void Screen::openEvents() {
    if (m_isReady) {
        open(kEvents, std::make_unique<EventBox>(m_commands));
    }
}

// --- The picture

void Screen::draw(Canvas& canvas) {
    canvas.putFitted(0, kTitleLine, canvas.width(), m_title, Look::kTitle);
    const Area area = {0, kListLine, canvas.width(), std::max(canvas.height() - kListLine - 1, 0)};
    m_view.draw(canvas, area);
    drawHint(canvas, area);
    drawButtons(canvas);
    m_status.filter = filterText();
    canvas.putFitted(0, canvas.height() - 1, canvas.width(), m_status.text(canvas.width()), Look::kStatus);
    // A new test has begun, and the box's row is gone.
    if (m_boxKind == kDetail && m_list.size() == 0) {
        open(kNoBox, nullptr);
    }
    if (m_box != nullptr) {
        m_box->draw(canvas);
    }
    if (!m_messages.empty()) {
        m_messages.front().box->draw(canvas);
    }
}

// At their right: which rows are in sight when not all are.
void Screen::drawButtons(Canvas& canvas) {
    bool usable[kScreenButtons];
    for (int i = 0; i < kScreenButtons; ++i) {
        usable[i] = isUsable(i);
    }
    m_buttons.draw(canvas, kButtonLine, usable);
    if (m_list.size() <= m_view.lines()) {
        return;
    }
    SPW_CString position;
    position.format(u"%d-%d of %d", m_view.firstRow() + 1, m_view.firstRow() + m_view.lines(), m_list.size());
    const int x = canvas.width() - displayWidth(position);
    if (x > m_buttons.end()) {
        canvas.put(x, kButtonLine, position, Look::kPlain);
    }
}

// "not well 3/300", while nothing else is shown.
SPW_CString Screen::filterText() const {
    SPW_CString text;
    if (m_list.isFiltered()) {
        text.format(u"not well %d/%d", m_list.size(), m_list.sizeUnfiltered());
    }
    return text;
}

void Screen::drawHint(Canvas& canvas, const Area& area) {
    if (m_list.size() > 0) {
        return;
    }
    const bool isStopped = m_status.state == StatusLine::kStopped;
    SPW_CString hint = isStopped ? u"s starts a test, ? explains the keys" : u"no peer heard so far";
    if (m_list.sizeUnfiltered() > 0) {
        hint = u"all peers are well, f shows them";
    }
    canvas.putFitted(area.x, area.y + area.height / 2, area.width, hint, Look::kDimmed, Canvas::kCentre);
}
