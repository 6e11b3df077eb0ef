#include <windows.h>

// A program that has what ours has none of at present: an object that is made before the program starts and goes after
// it.

namespace {

class Noted {
public:
    Noted() { OutputDebugStringW(L"made"); }
    ~Noted() { OutputDebugStringW(L"gone"); }
    Noted(const Noted&) = delete;
    Noted& operator=(const Noted&) = delete;
};

Noted noted;

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
    return 0;
}
