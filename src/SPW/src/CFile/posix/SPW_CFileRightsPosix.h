#pragma once

#include <sys/stat.h>

#include <string>

// Owners and rights of the files and folders that this program makes. Any thread.
namespace SPW_CFileRightsPosix {

// The path up to its last slash, the slash included; empty for a plain name.
std::string folderOf(const std::string& path);

// Gives a file that the superuser has made in a user's folder to that user, who could not use it otherwise. `file` has
// just been made at `path`. Does nothing for any other user: only the superuser may give files away.
void giveToOwnerOfFolder(int file, const std::string& path);

// Makes one folder, not its parents, and gives it to the owner of the folder above it in the same way. False, with
// errno, when it cannot be made.
bool makeFolder(const std::string& path, mode_t mode);

// Gives the new file `to`, which nobody else can read yet, what the file `from` has beside its bytes: owner, group,
// permissions, access control list and extended attributes, as far as this user may. Where the group, or the list,
// cannot be kept, the rights of the group are not given to another one. False, with errno, when even that much fails.
bool takeOver(int from, int to);

// Lets those users open `lock` that may write `file`, and no others.
void letWritersOpen(int lock, int file);

}  // namespace SPW_CFileRightsPosix
