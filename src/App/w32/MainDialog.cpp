#include "MainDialog.h"

#include <commctrl.h>

#include <algorithm>
#include <new>

#include "AddPeerDialog.h"
#include "LocalInfoDialog.h"
#include "PeerArguments.h"
#include "ProblemText.h"
#include "Resource.h"
#include "SPW_CMemory.h"
#include "SPW_CWideW32.h"
#include "ShellW32.h"

namespace {

// An update of a row is on its way: wParam is a RowUpdate, which the receiver deletes.
constexpr UINT kRowUpdateMessage = WM_USER + 101;
constexpr UINT_PTR kDurationTimer = 1;
// The list's right and lower edge keep this distance from the window's, in dialog units.
constexpr int kListMargin = 7;

void insertColumn(HWND list, int column, const char16_t* header) {
    LVCOLUMNW definition = {};
    definition.mask = LVCF_FMT | LVCF_TEXT | LVCF_SUBITEM;
    definition.fmt = LVCFMT_CENTER;
    definition.pszText = const_cast<wchar_t*>(SPW_ToWide(header));  // only read
    definition.iSubItem = column;
    (void)SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&definition));
}

// Makes the column so wide that this text can be read in it. What a list calls the width of a text leaves no margins.
void widenColumn(HWND list, int column, const SPW_CString& text) {
    const SPW_CString withMargins = text + u"MM";
    const LRESULT wanted =
        SendMessageW(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(SPW_ToWide(withMargins.text())));
    if (wanted > SendMessageW(list, LVM_GETCOLUMNWIDTH, static_cast<WPARAM>(column), 0)) {
        (void)SendMessageW(list, LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(column),
                           MAKELPARAM(static_cast<WORD>(wanted), 0));
    }
}

}  // namespace

MainDialog::MainDialog(const CommandLine& options, WindowMessageBox& box)
    : Dialog(IDD_MAIN), m_options(options), m_box(box), m_isHandheld(ShellW32::isHandheld()) {}

// The engine's last callbacks want the rest of the object.
MainDialog::~MainDialog() {
    m_engine.reset();
}

// --- The window

void MainDialog::onInitialise() {
    makeColumns();
    const HICON icon = LoadIconW(programInstance(), resourceName(IDI_PROGRAM));
    (void)SendMessageW(window(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    disable(IDC_STOP, IDC_START);
    fitScreen();
    makeEngine();
    showTitle();
}

void MainDialog::makeColumns() {
    const HWND list = control(IDC_PEERS);
    for (int column = 0; column < kPeerColumns; ++column) {
        insertColumn(list, column, peerColumnHeader(column));
    }
    // The control gives its last column what is left of its width, and that may be next to nothing. So while the
    // columns get the widths of their headers, another one is the last.
    insertColumn(list, kPeerColumns, u"");
    for (WPARAM column = 0; column < kPeerColumns; ++column) {
        (void)SendMessageW(list, LVM_SETCOLUMNWIDTH, column, MAKELPARAM(LVSCW_AUTOSIZE_USEHEADER, 0));
        // Not every list leaves as much room as it then needs.
        widenColumn(list, static_cast<int>(column), peerColumnHeader(static_cast<int>(column)));
    }
    (void)SendMessageW(list, LVM_DELETECOLUMN, kPeerColumns, 0);
}

void MainDialog::makeEngine() {
    m_target = window();
    m_engine.reset(new (std::nothrow) TestEngine(this, true));
    if (m_engine == nullptr) {
        SPW_CMemory::exhausted();
    }
    for (int i = 0; i < m_options.peers.numberOfElements(); ++i) {
        SPW_CString why;
        if (::addPeer(*m_engine, m_options.peers[i], why) != PeerAdded::kYes) {
            m_box.tell(why);
        }
    }
    tellProblems();
}

void MainDialog::tellProblems() {
    SPW_CArray<StartProblem> problems;
    m_engine->startProblems(problems);
    for (int i = 0; i < problems.numberOfElements(); ++i) {
        m_box.tell(problemText(problems[i]));
    }
}

void MainDialog::showTitle() {
    if (m_engine != nullptr) {
        (void)SetWindowTextW(window(), SPW_ToWide(m_engine->title().text()));
    }
}

// The template's size is right for neither: a handheld's dialog fills its small screen, a desktop's may be enlarged.
void MainDialog::fitScreen() {
    RECT outer;
    (void)GetWindowRect(window(), &outer);
    m_smallest = {outer.right - outer.left, outer.bottom - outer.top};
    if (m_isHandheld) {
        ShellW32::fillScreen(window());
    } else {
        makeSizeable();
    }
    fitList();
}

// With a frame to pull at, and a menu to close it by: without them only the keyboard could.
void MainDialog::makeSizeable() {
    RECT inner;
    (void)GetClientRect(window(), &inner);
    const LONG style =
        GetWindowLongW(window(), GWL_STYLE) | WS_THICKFRAME | WS_SYSMENU | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
    (void)SetWindowLongW(window(), GWL_STYLE, style);
    (void)AdjustWindowRectEx(&inner, static_cast<DWORD>(style), FALSE,
                             static_cast<DWORD>(GetWindowLongW(window(), GWL_EXSTYLE)));
    m_smallest = {inner.right - inner.left, inner.bottom - inner.top};
    (void)SetWindowPos(window(), nullptr, 0, 0, m_smallest.cx, m_smallest.cy,
                       SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

void MainDialog::fitList() {
    const HWND list = control(IDC_PEERS);
    RECT inner;
    RECT place;
    RECT margin = {0, 0, kListMargin, kListMargin};
    (void)GetClientRect(window(), &inner);
    (void)GetWindowRect(list, &place);
    (void)MapWindowPoints(nullptr, window(), reinterpret_cast<POINT*>(&place), 2);
    (void)MapDialogRect(window(), &margin);
    const int width = std::max<int>(inner.right - margin.right - place.left, 0);
    const int height = std::max<int>(inner.bottom - margin.bottom - place.top, 0);
    (void)MoveWindow(list, place.left, place.top, width, height, TRUE);
}

bool MainDialog::onMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) {
    switch (message) {
        case kRowUpdateMessage: {
            const std::unique_ptr<RowUpdate> update(reinterpret_cast<RowUpdate*>(wParam));
            applyUpdate(*update);
            result = 1;
            return true;
        }
        case WM_SIZE:
            fitList();
            return true;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {m_smallest.cx, m_smallest.cy};
            return true;
        case WM_TIMER:
            stopTest();
            return true;
        case WM_NOTIFY:
            // A click into the list is understood, and means nothing.
            return reinterpret_cast<const NMHDR*>(lParam)->code == static_cast<UINT>(NM_CLICK);
        default:
            return false;
    }
}

// --- Buttons

void MainDialog::onCommand(int control) {
    switch (control) {
        case IDC_START:
            startTest();
            break;
        case IDC_STOP:
            stopTest();
            break;
        case IDC_RESET:
            m_engine->resetStatistics();
            break;
        case IDC_LOG:
            m_engine->logReport();
            break;
        case IDC_ADD_IP:
            addPeer();
            break;
        case IDC_INFO:
            showInfo();
            break;
        case IDOK:
            // On a handheld the OK button of the caption; elsewhere only the Enter key, which would end a measurement
            // by mistake.
            if (m_isHandheld) {
                end(IDCANCEL);
            }
            break;
        case IDCANCEL:
            end(IDCANCEL);
            break;
        default:
            break;
    }
}

void MainDialog::startTest() {
    m_engine->retryLog();
    if (isLogInUse()) {
        tellProblems();
        return;
    }
    // Updates of the former test that are still on their way would bring its rows back.
    dropPendingUpdates();
    m_rows.clear();
    (void)SendMessageW(control(IDC_PEERS), LVM_DELETEALLITEMS, 0, 0);
    m_engine->start();
    showTitle();
    tellProblems();
    enable(IDC_STOP);
    disable(IDC_START, IDC_STOP);
    if (m_options.hasDuration) {
        constexpr std::int64_t kLongestTimer = 0x7FFFFFFF;
        (void)SetTimer(window(), kDurationTimer,
                       static_cast<UINT>(std::clamp<std::int64_t>(m_options.durationMs, 1, kLongestTimer)), nullptr);
    }
}

bool MainDialog::isLogInUse() const {
    SPW_CArray<StartProblem> problems;
    m_engine->startProblems(problems);
    return hasProblem(problems, StartProblem::kLogInUse);
}

void MainDialog::stopTest() {
    (void)KillTimer(window(), kDurationTimer);
    if (!m_engine->isRunning()) {
        return;
    }
    m_engine->stop();
    enable(IDC_START);
    disable(IDC_STOP, IDC_START);
}

void MainDialog::addPeer() {
    AddPeerDialog dialog(*m_engine);
    if (runInner(dialog) == IDOK && !isEnding()) {
        m_engine->addPeer(dialog.peer());
    }
}

void MainDialog::showInfo() {
    LocalInfoDialog dialog(m_engine->localInfo());
    (void)runInner(dialog);
}

// The engine goes first: it may still have something to tell.
void MainDialog::onEnd() {
    m_engine.reset();
    m_target = nullptr;
    dropPendingUpdates();
}

// --- Rows

void MainDialog::updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                               std::int32_t total) {
    post({label, columnOfProtocol(protocol), quality, received, total});
}

void MainDialog::rowGivenUp(const PeerRowValues& row) {
    RowUpdate update;
    update.label = row.label();
    update.isGone = true;
    post(update);
}

void MainDialog::post(const RowUpdate& update) {
    const HWND target = m_target;
    if (target == nullptr) {
        return;
    }
    std::unique_ptr<RowUpdate> posted(new (std::nothrow) RowUpdate(update));
    if (posted != nullptr && PostMessageW(target, kRowUpdateMessage, reinterpret_cast<WPARAM>(posted.get()), 0)) {
        (void)posted.release();  // the window's from here on
    }
}

void MainDialog::applyUpdate(const RowUpdate& update) {
    if (update.isGone) {
        removeRow(update.label);
        return;
    }
    const RowPlace place = m_rows.apply(update);
    showRow(place, update.column);
}

// Two peers with one label share a row. The next update of the other one brings it back.
void MainDialog::removeRow(const SPW_CString& label) {
    const int index = m_rows.remove(label);
    if (index != RowTable::kNone) {
        (void)SendMessageW(control(IDC_PEERS), LVM_DELETEITEM, static_cast<WPARAM>(index), 0);
    }
}

void MainDialog::showRow(const RowPlace& place, int column) {
    const HWND list = control(IDC_PEERS);
    LVITEMW item = {};
    const auto setCell = [&](int cell) {
        item.iSubItem = cell;
        item.pszText = const_cast<wchar_t*>(SPW_ToWide(m_rows.cell(place.index, cell).text()));  // only read
        (void)SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(place.index), reinterpret_cast<LPARAM>(&item));
    };
    if (place.isNew) {
        item.mask = LVIF_TEXT;
        item.iItem = place.index;
        item.pszText = const_cast<wchar_t*>(SPW_ToWide(m_rows.cell(place.index, kLabelColumn).text()));
        (void)SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        widenColumn(list, kLabelColumn, m_rows.cell(place.index, kLabelColumn));
    }
    setCell(column);
    setCell(kQualityColumn);
}

void MainDialog::dropPendingUpdates() {
    MSG message;
    while (PeekMessageW(&message, window(), kRowUpdateMessage, kRowUpdateMessage, PM_REMOVE)) {
        delete reinterpret_cast<RowUpdate*>(message.wParam);
    }
}
