// Paths as a Linux user types them, in the form the module keeps: the catalogue stores
// backslashes, and a forward slash that goes in works only until the catalogue is loaded again.
#pragma once

#include <string>

// Forward slashes become backslashes, except in a path that starts with '/', which the
// module takes as absolute as it is. True when the path changed.
bool ToModulePath(std::string* path);

// A console line with the path parameter of the music commands in the module's form; each
// change is noted on standard error. Other lines come back as they are.
std::string ConsoleLineToModule(const std::string& line);
