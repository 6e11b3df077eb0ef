#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Reads whole small files of the system, such as those below /etc and /proc, whatever stands at their path. Any thread.
namespace SPW_CSmallFilePosix {

// The first bytes of a regular file, `limit` at most. False, and text empty, when there is no such file or it cannot
// be read. Never waits: a pipe or a device at the path counts as no file.
bool read(const char* path, std::size_t limit, std::string& text);

// The same with the last bytes, for files that grow at their end. written: when the file was last written, in seconds
// since 1970 (UTC); untouched when nothing is read.
bool readEnd(const char* path, std::size_t limit, std::string& text, std::int64_t& written);

}  // namespace SPW_CSmallFilePosix
