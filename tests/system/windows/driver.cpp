// Uses another program's windows as its user would: finds them by their caption, presses buttons, types, reads texts.
// Reads one command a line from standard input and answers each with one line, fields separated by tabs:
//
//     find CAPTION         the handle of a visible top-level window whose caption holds the text, or 0
//     all CAPTION          the handles of all such windows
//     press HWND ID        clicks a button
//     close HWND           asks the window to close
//     key HWND CODE        a key, to the control that has the focus
//     focus HWND ID        gives a control the focus
//     focused HWND         the number of the control that has the focus, or 0
//     strike HWND CODE ... strikes keys of the keyboard, one after another; the window must be the one in front
//     exists HWND          1 or 0
//     caption HWND         the window's caption
//     label HWND           the texts of the window's labels
//     text HWND ID         a control's text; \r, \n, \t and \ come as \\r ...
//     type HWND ID TEXT    sets a control's text
//     enabled HWND ID      1 or 0
//     place HWND [ID]      left, top, width and height in the parent's client area, or on the screen
//     command HWND ID      what a button of the window's caption sends
//     style HWND           the window's extended style
//     size HWND W H        the window's outer size
//     rows HWND ID         how many rows a list has
//     cell HWND ID ROW COL a list's text
//     header HWND ID COL   a column's text, format and width
//     set NAME VALUE       a variable of the environment for the programs that are started from now on
//     start COMMAND LINE   starts a program; a handle, or 0
//     status HANDLE        the exit status of that program, or "running"
//     kill HANDLE          ends that program; 1 or 0
//     cost HWND            how many handles, threads and bytes of memory of its own the window's process has
//     listen               makes a window that waits for the report's outcome; its handle
//     heard                the outcome that it was told last, or "nothing"

#include <windows.h>

#include <commctrl.h>
#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

UINT outcomeMessage = 0;
int outcome = -1;

std::wstring wide(const std::string& text) {
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L' ');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), size);
    return result;
}

std::string shown(const std::wstring& text) {
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), ' ');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), size, nullptr, nullptr);
    std::string result;
    for (const char c : bytes) {
        switch (c) {
            case '\r':
                result += "\\r";
                break;
            case '\n':
                result += "\\n";
                break;
            case '\t':
                result += "\\t";
                break;
            case '\\':
                result += "\\\\";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::wstring textOf(HWND window) {
    const LRESULT length = SendMessageW(window, WM_GETTEXTLENGTH, 0, 0);
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    const LRESULT copied =
        SendMessageW(window, WM_GETTEXT, static_cast<WPARAM>(text.size()), reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(copied));
    return text;
}

BOOL CALLBACK addLabel(HWND window, LPARAM parameter) {
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    if (std::wcscmp(name, L"Static") == 0) {
        *reinterpret_cast<std::string*>(parameter) += shown(textOf(window)) + " ";
    }
    return TRUE;
}

struct Search {
    std::wstring caption;
    std::vector<HWND> found;  // the one in front of all others first
};

BOOL CALLBACK visit(HWND window, LPARAM parameter) {
    Search& search = *reinterpret_cast<Search*>(parameter);
    wchar_t caption[256] = L"";
    GetWindowTextW(window, caption, 256);
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    const bool isDialog = std::wcscmp(name, L"#32770") == 0;
    const bool isMeant =
        search.caption.empty() ? caption[0] == 0 : std::wstring(caption).find(search.caption) != std::wstring::npos;
    if (isDialog && IsWindowVisible(window) && isMeant) {
        search.found.push_back(window);
    }
    return TRUE;
}

std::string list(const std::vector<HWND>& windows) {
    std::string handles;
    for (const HWND window : windows) {
        handles += (handles.empty() ? "" : "\t") + std::to_string(reinterpret_cast<std::uintptr_t>(window));
    }
    return handles;
}

// Memory of the window's process, for messages that the system does not carry across.
class RemoteMemory {
public:
    RemoteMemory(HWND window, std::size_t size) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        m_process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process);
        m_address = static_cast<char*>(VirtualAllocEx(m_process, nullptr, size, MEM_COMMIT, PAGE_READWRITE));
    }
    ~RemoteMemory() {
        VirtualFreeEx(m_process, m_address, 0, MEM_RELEASE);
        CloseHandle(m_process);
    }
    RemoteMemory(const RemoteMemory&) = delete;
    RemoteMemory& operator=(const RemoteMemory&) = delete;
    char* address() const { return m_address; }
    void write(const void* data, std::size_t size) { WriteProcessMemory(m_process, m_address, data, size, nullptr); }
    void read(std::size_t offset, void* data, std::size_t size) {
        ReadProcessMemory(m_process, m_address + offset, data, size, nullptr);
    }

private:
    HANDLE m_process = nullptr;
    char* m_address = nullptr;
};

constexpr int kTextRoom = 4096;

std::wstring cellText(HWND list, int row, int column) {
    RemoteMemory memory(list, sizeof(LVITEMW) + kTextRoom * sizeof(wchar_t));
    LVITEMW item = {};
    item.iSubItem = column;
    item.cchTextMax = kTextRoom;
    item.pszText = reinterpret_cast<wchar_t*>(memory.address() + sizeof item);
    memory.write(&item, sizeof item);
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(memory.address()));
    std::wstring text(kTextRoom, L'\0');
    memory.read(sizeof item, text.data(), kTextRoom * sizeof(wchar_t));
    return text.c_str();
}

std::string headerText(HWND list, int column) {
    RemoteMemory memory(list, sizeof(LVCOLUMNW) + kTextRoom * sizeof(wchar_t));
    LVCOLUMNW definition = {};
    definition.mask = LVCF_FMT | LVCF_TEXT | LVCF_WIDTH;
    definition.cchTextMax = kTextRoom;
    definition.pszText = reinterpret_cast<wchar_t*>(memory.address() + sizeof definition);
    memory.write(&definition, sizeof definition);
    SendMessageW(list, LVM_GETCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(memory.address()));
    memory.read(0, &definition, sizeof definition);
    std::wstring text(kTextRoom, L'\0');
    memory.read(sizeof definition, text.data(), kTextRoom * sizeof(wchar_t));
    return shown(text.c_str()) + "\t" + std::to_string(definition.fmt & LVCFMT_JUSTIFYMASK) + "\t" +
           std::to_string(definition.cx);
}

int threadsOf(DWORD process) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread = {};
    thread.dwSize = sizeof thread;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &thread); more; more = Thread32Next(snapshot, &thread)) {
        count += thread.th32OwnerProcessID == process ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

// Wine answers 0 to the question for one process's handles. So this counts in the list of all.
int handlesOf(DWORD process) {
    struct Entry {
        USHORT process;
        USHORT trace;
        UCHAR type;
        UCHAR flags;
        USHORT handle;
        void* object;
        ACCESS_MASK access;
    };
    struct List {
        ULONG count;
        Entry entries[1];
    };
    constexpr auto kAllHandles = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    std::vector<char> room(1 << 20);
    ULONG needed = 0;
    while (NtQuerySystemInformation(kAllHandles, room.data(), static_cast<ULONG>(room.size()), &needed) < 0) {
        room.resize(room.size() * 2);
    }
    const List& list = *reinterpret_cast<const List*>(room.data());
    return static_cast<int>(std::count_if(list.entries, list.entries + list.count, [process](const Entry& entry) {
        return entry.process == static_cast<USHORT>(process);
    }));
}

std::string costOf(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
    PROCESS_MEMORY_COUNTERS memory = {};
    K32GetProcessMemoryInfo(process, &memory, sizeof memory);
    CloseHandle(process);
    std::ostringstream answer;
    answer << handlesOf(id) << '\t' << threadsOf(id) << '\t' << memory.PagefileUsage;
    return answer.str();
}

std::string place(HWND window, HWND control) {
    RECT rectangle;
    GetWindowRect(control != nullptr ? control : window, &rectangle);
    if (control != nullptr) {
        MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&rectangle), 2);
    }
    std::ostringstream answer;
    answer << rectangle.left << '\t' << rectangle.top << '\t' << rectangle.right - rectangle.left << '\t'
           << rectangle.bottom - rectangle.top;
    return answer.str();
}

LRESULT CALLBACK listen(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == outcomeMessage) {
        outcome = lParam == 0 ? static_cast<int>(wParam) : -2;
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND makeListener() {
    outcomeMessage = RegisterWindowMessageW(L"WM_VTR_DIAGINFOSUCCESS");
    outcome = -1;
    WNDCLASSW description = {};
    description.lpfnWndProc = listen;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = L"LinkometryTestListener";
    RegisterClassW(&description);
    return CreateWindowW(L"LinkometryTestListener", L"listener", 0, 0, 0, 10, 10, nullptr, nullptr,
                         description.hInstance, nullptr);
}

void takeMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
    }
}

// The control of the window that has the focus; null when none of it has.
HWND focusOf(HWND window) {
    GUITHREADINFO thread = {};
    thread.cbSize = sizeof thread;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &thread);
    return thread.hwndActive == window ? thread.hwndFocus : nullptr;
}

// By way of the system's queue of the keyboard, as a user would. Answers how many were struck.
int strike(HWND window, std::istringstream& codes) {
    int count = 0;
    for (int code = 0; GetForegroundWindow() == window && codes >> code; ++count) {
        INPUT keys[2] = {};
        keys[0].type = keys[1].type = INPUT_KEYBOARD;
        keys[0].ki.wVk = keys[1].ki.wVk = static_cast<WORD>(code);
        keys[1].ki.dwFlags = KEYEVENTF_KEYUP;
        SendInput(2, keys, sizeof keys[0]);
    }
    return count;
}

std::string start(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        return "0";
    }
    CloseHandle(process.hThread);
    return std::to_string(reinterpret_cast<std::uintptr_t>(process.hProcess));
}

std::string statusOf(HANDLE process) {
    DWORD status = 0;
    if (WaitForSingleObject(process, 0) != WAIT_OBJECT_0 || !GetExitCodeProcess(process, &status)) {
        return "running";
    }
    return std::to_string(status);
}

std::string answer(const std::string& line) {
    std::istringstream input(line);
    std::string command;
    input >> command;
    if (command == "find" || command == "all") {
        std::string caption;
        std::getline(input >> std::ws, caption);
        Search search{wide(caption), {}};
        EnumWindows(visit, reinterpret_cast<LPARAM>(&search));
        return command == "all" ? list(search.found) : list({search.found.empty() ? nullptr : search.found.front()});
    }
    if (command == "set") {
        std::string name;
        std::string value;
        std::getline(input >> name >> std::ws, value);
        return std::to_string(SetEnvironmentVariableW(wide(name).c_str(), wide(value).c_str()));
    }
    if (command == "start") {
        std::string commandLine;
        std::getline(input >> std::ws, commandLine);
        return start(wide(commandLine));
    }
    if (command == "listen") {
        return std::to_string(reinterpret_cast<std::uintptr_t>(makeListener()));
    }
    if (command == "heard") {
        takeMessages();
        return outcome == -1 ? "nothing" : std::to_string(outcome);
    }
    std::uintptr_t handle = 0;
    int id = 0;
    input >> handle;
    if (command == "strike") {
        return std::to_string(strike(reinterpret_cast<HWND>(handle), input));
    }
    input >> id;
    if (command == "status") {
        return statusOf(reinterpret_cast<HANDLE>(handle));
    }
    if (command == "kill") {
        constexpr UINT kKilled = 137;
        return std::to_string(TerminateProcess(reinterpret_cast<HANDLE>(handle), kKilled));
    }
    const HWND window = reinterpret_cast<HWND>(handle);
    const HWND control = id != 0 ? GetDlgItem(window, id) : nullptr;
    if (command == "press") {
        return std::to_string(PostMessageW(control, BM_CLICK, 0, 0));
    }
    if (command == "close") {
        return std::to_string(PostMessageW(window, WM_CLOSE, 0, 0));
    }
    if (command == "key") {
        return std::to_string(PostMessageW(focusOf(window), WM_KEYDOWN, static_cast<WPARAM>(id), 0));
    }
    if (command == "focused") {
        return std::to_string(GetDlgCtrlID(focusOf(window)));
    }
    if (command == "focus") {
        return std::to_string(PostMessageW(window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE));
    }
    if (command == "command") {
        return std::to_string(PostMessageW(window, WM_COMMAND, static_cast<WPARAM>(id), 0));
    }
    if (command == "style") {
        return std::to_string(static_cast<unsigned>(GetWindowLongW(window, GWL_EXSTYLE)));
    }
    if (command == "label") {
        std::string labels;
        EnumChildWindows(window, addLabel, reinterpret_cast<LPARAM>(&labels));
        return labels;
    }
    if (command == "cost") {
        return costOf(window);
    }
    if (command == "exists") {
        return std::to_string(IsWindow(window));
    }
    if (command == "caption") {
        return shown(textOf(window));
    }
    if (command == "text") {
        return shown(textOf(control));
    }
    if (command == "type") {
        std::string text;
        std::getline(input >> std::ws, text);
        return std::to_string(SendMessageW(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(wide(text).c_str())));
    }
    if (command == "enabled") {
        return std::to_string(IsWindowEnabled(control));
    }
    if (command == "place") {
        return place(window, control);
    }
    int first = 0;
    int second = 0;
    if (command == "size") {
        input >> first;
        return std::to_string(SetWindowPos(window, nullptr, 0, 0, id, first, SWP_NOMOVE | SWP_NOZORDER));
    }
    if (command == "rows") {
        return std::to_string(SendMessageW(control, LVM_GETITEMCOUNT, 0, 0));
    }
    input >> first >> second;
    if (command == "cell") {
        return shown(cellText(control, first, second));
    }
    if (command == "header") {
        return headerText(control, first);
    }
    return "what is " + command + "?";
}

}  // namespace

int main() {
    std::string line;
    for (int c = std::getchar(); c != EOF; c = std::getchar()) {
        if (c != '\n') {
            line += static_cast<char>(c);
            continue;
        }
        std::printf("%s\n", answer(line).c_str());
        std::fflush(stdout);
        line.clear();
    }
    return 0;
}
