#include "VTR_CEvent.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "SPW_CString.h"

namespace {

// A name that no other process of this test run has.
SPW_CString ownName(const char16_t* what) {
    SPW_CString name(what);
    name += static_cast<unsigned long>(GetCurrentProcessId());
    return name;
}

TEST(EventW32Test, EventsOfOneNameAreOneEvent) {
    VTR_CEvent first;
    VTR_CEvent second;
    const SPW_CString name = ownName(u"linkometry-test-event-");
    ASSERT_EQ(first.create(true, false, name.text()), 0u);
    ASSERT_EQ(second.create(true, false, name.text()), 0u);
    EXPECT_EQ(first.set(), 0u);
    EXPECT_EQ(second.wait(0), 0u);
}

TEST(EventW32Test, NameOfSomethingElseIsCode522) {
    const SPW_CString name = ownName(u"linkometry-test-semaphore-");
    const HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 1, reinterpret_cast<const wchar_t*>(name.text()));
    ASSERT_NE(semaphore, nullptr);
    VTR_CEvent event;
    EXPECT_EQ(event.create(false, false, name.text()), 522u);
    CloseHandle(semaphore);
}

TEST(EventW32Test, MessagesOfTheWaitingThreadAreDispatched) {
    struct Window {
        static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
            if (message == WM_APP) {
                EXPECT_EQ(reinterpret_cast<VTR_CEvent*>(second)->set(), 0u);
            }
            return DefWindowProcW(window, message, first, second);
        }
    };
    VTR_CEvent event;
    ASSERT_EQ(event.create(false, false, nullptr), 0u);
    WNDCLASSW description = {};
    description.lpfnWndProc = Window::procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = L"linkometry-test";
    ASSERT_NE(RegisterClassW(&description), 0);
    const HWND window = CreateWindowExW(0, L"linkometry-test", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                        description.hInstance, nullptr);
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(PostMessageW(window, WM_APP, 0, reinterpret_cast<LPARAM>(&event)));
    EXPECT_EQ(event.waitAndProcessMsgs(), 0u) << "the message that sets the event has been dispatched";
    DestroyWindow(window);
    UnregisterClassW(description.lpszClassName, description.hInstance);
}

}  // namespace
