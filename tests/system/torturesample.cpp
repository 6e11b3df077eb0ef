// A program that does not bear what tools/torture does to it, for the tool's self-test: it writes its report into
// memory that it may not have got, and asks for a file until it gets it.

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

int main(int, char** words) {
    char* const text = static_cast<char*>(std::malloc(100));
    std::strcpy(text, "a report\n");
    int file = -1;
    while (file == -1) {
        file = open(words[2], O_CREAT | O_WRONLY | O_TRUNC, 0600);
    }
    const bool isWritten = write(file, text, std::strlen(text)) == static_cast<ssize_t>(std::strlen(text));
    std::free(text);
    return close(file) == 0 && isWritten ? 0 : 1;
}
