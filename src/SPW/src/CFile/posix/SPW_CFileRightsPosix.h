#pragma once

#include <sys/stat.h>

#include <string>

// To whom files and folders belong that this program makes, and who may use them. Any thread.
namespace SPW_CFileRightsPosix {

// The path up to its last slash, the slash included; empty for a plain name.
std::string folderOf(const std::string& path);

// What the superuser makes in a user's folder is the user's, or it would lock the user out. `file` has just been made
// at `path`. Does nothing for anybody else, who may not give files away.
void giveToOwnerOfFolder(int file, const std::string& path);

// One folder, not its parents, given to the owner of the folder above it as told above. False, with errno, when it
// cannot be made.
bool makeFolder(const std::string& path, mode_t mode);

// Gives the new file `to`, which nobody else can read yet, what the file `from` has beside its bytes: owner, group,
// permissions, access control list and extended attributes, as far as this user may. Where the group, or the list,
// cannot be kept, the rights of the group are not given to another one. False, with errno, when even that much fails.
bool takeOver(int from, int to);

// Lets everybody open `lock` who may write `file`, and nobody else.
void letWritersOpen(int lock, int file);

}  // namespace SPW_CFileRightsPosix
