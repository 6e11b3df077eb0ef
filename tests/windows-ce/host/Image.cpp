#include "Image.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Calls.h"
#include "Journal.h"
#include "Space.h"

namespace {

Word base = 0;
Word size = 0;
Word entryPoint = 0;
Word stackReserve = 0;
HMODULE resourceModule = nullptr;
std::wstring file;
const std::wstring nameOnDevice = L"\\Program Files\\Linkometry\\linkometry.exe";

constexpr int kCannotLoad = 97;

[[noreturn]] void refuse(const char* why) {
    Journal::write("LOADER %s", why);
    std::exit(kCannotLoad);
}

std::vector<char> contentOf(const std::wstring& path) {
    std::FILE* const opened = _wfopen(path.c_str(), L"rb");
    if (opened == nullptr) {
        refuse("there is no such program file");
    }
    std::vector<char> content;
    char room[4096];
    std::size_t count = 0;
    while ((count = std::fread(room, 1, sizeof room, opened)) > 0) {
        content.insert(content.end(), room, room + count);
    }
    (void)std::fclose(opened);
    return content;
}

void joinImports(Word directory) {
    struct Library {
        Word names;
        Word stamp;
        Word forwarder;
        Word name;
        Word addresses;
    };
    for (const Library* each = pointerTo<const Library>(base + directory); each->name != 0; ++each) {
        std::string library = pointerTo<const char>(base + each->name);
        for (char& c : library) {
            c = static_cast<char>(std::tolower(c));
        }
        const Word* name = pointerTo<const Word>(base + (each->names != 0 ? each->names : each->addresses));
        for (Word* address = pointerTo<Word>(base + each->addresses); *name != 0; ++name, ++address) {
            constexpr Word kByNumber = 0x80000000;
            if ((*name & kByNumber) != 0) {
                Journal::write("IMPORT by number of %s", library.c_str());
                continue;
            }
            constexpr Word kHint = 2;
            *address = addCall(library, pointerTo<const char>(base + *name + kHint));
        }
    }
}

}  // namespace

namespace Image {

void load(const std::wstring& path) {
    file = path;
    const std::vector<char> content = contentOf(path);
    Word headersAt = 0;
    std::memcpy(&headersAt, &content[0x3C], sizeof headersAt);
    IMAGE_NT_HEADERS32 headers;
    std::memcpy(&headers, &content[headersAt], sizeof headers);
    const IMAGE_OPTIONAL_HEADER32& optional = headers.OptionalHeader;
    if (headers.FileHeader.Machine != IMAGE_FILE_MACHINE_ARM || optional.Subsystem != IMAGE_SUBSYSTEM_WINDOWS_CE_GUI) {
        refuse("the file is no program for Windows CE on ARM");
    }
    base = optional.ImageBase;
    size = optional.SizeOfImage;
    entryPoint = base + optional.AddressOfEntryPoint;
    stackReserve = optional.SizeOfStackReserve;
    if (!Space::take(size)) {
        refuse("the program is too large");
    }
    char* const memory = pointerTo<char>(base);
    if (VirtualAlloc(memory, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE) != memory) {
        refuse("the program's addresses are taken");
    }
    std::memcpy(memory, content.data(), optional.SizeOfHeaders);
    std::vector<IMAGE_SECTION_HEADER> sections(headers.FileHeader.NumberOfSections);
    std::memcpy(sections.data(), &content[headersAt + sizeof headers], sections.size() * sizeof sections[0]);
    for (const IMAGE_SECTION_HEADER& section : sections) {
        const Word inFile =
            section.SizeOfRawData < section.Misc.VirtualSize ? section.SizeOfRawData : section.Misc.VirtualSize;
        std::memcpy(memory + section.VirtualAddress, content.data() + section.PointerToRawData, inFile);
    }
    joinImports(optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    DWORD former = 0;
    (void)VirtualProtect(memory, optional.SizeOfHeaders, PAGE_READONLY, &former);
    for (const IMAGE_SECTION_HEADER& section : sections) {
        if ((section.Characteristics & IMAGE_SCN_MEM_WRITE) == 0) {
            (void)VirtualProtect(memory + section.VirtualAddress, section.Misc.VirtualSize, PAGE_READONLY, &former);
        }
    }
    resourceModule = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
}

bool holds(Word address) {
    return address - base < size;
}

Word entry() {
    return entryPoint;
}

Word stackSize() {
    return stackReserve;
}

const std::wstring& path() {
    return file;
}

const std::wstring& devicePath() {
    return nameOnDevice;
}

HMODULE resources() {
    return resourceModule;
}

}  // namespace Image
