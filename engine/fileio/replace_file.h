// Replacing a file whole: a temp file beside the target, renamed over it at the end.
#pragma once
#include <string>

namespace kx {

// The file a write to path lands in: symbolic links followed to their end, so a save
// through a link replaces the file it names and keeps the link. A dangling link gives
// the path it points to. Empty when the chain loops.
std::string followLinks(const std::string& path);

// Creates ".NAME.kxtmp-XXXXXX" beside target, locked while it lives and with the
// target's mode and owner when the target exists; first removes what interrupted
// saves of the same target left. -1 on failure.
int createTempBeside(const std::string& target, std::string& tempPath);

// Puts the temp file in place of target and makes the rename durable. The descriptor
// is closed either way; on failure the temp file is gone and target is untouched.
bool commitTemp(int fd, const std::string& tempPath, const std::string& target);

// Drops the temp file of a save that failed; target is untouched.
void discardTemp(int fd, const std::string& tempPath);

// Removes the temp files of interrupted saves in folder (of any target): regular files
// named exactly ".NAME.kxtmp-XXXXXX" that no live save holds.
void sweepTempFiles(const std::string& folder);

}  // namespace kx
