#include <windows.h>

// A program with an object that is made before the program's start and destroyed after its end. The program itself has
// no such object at present.

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
