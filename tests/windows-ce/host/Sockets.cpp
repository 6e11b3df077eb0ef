#include "Sockets.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "Journal.h"

namespace {

const std::string kTag = "Vantiro Diagnostic|";

// A connection's probes may arrive in one piece where the guest reads them late. The guest counts a probe only at the
// beginning of a piece. The others are lost to it, and the journal says how many these were.
void noteMergedProbes(const std::string& piece) {
    const long ends = static_cast<long>(std::count(piece.begin(), piece.end(), '\0'));
    const long counted = piece.compare(0, kTag.size(), kTag) == 0 ? 1 : 0;
    if (ends > counted) {
        Journal::write("MERGED %ld probes", ends - counted);
    }
}

std::uint64_t receive(Processor&, const Word* a) {
    static const void* const hosts =
        reinterpret_cast<const void*>(GetProcAddress(LoadLibraryW(L"wsock32.dll"), "recv"));
    const std::uint64_t result = callHost(hosts, a);
    const DWORD error = GetLastError();
    const int size = static_cast<int>(static_cast<Word>(result));
    if (size > 0) {
        noteMergedProbes(std::string(pointerTo<const char>(a[1]), static_cast<std::size_t>(size)));
    }
    SetLastError(error);
    return result;
}

const SystemFunction table[] = {{"recv", receive}, {nullptr, nullptr}};

}  // namespace

namespace Sockets {

const SystemFunction* functions() {
    return table;
}

}  // namespace Sockets
