// Case-insensitive path lookup shared by the engine's file layer and other libraries
// that open game data written on a case-insensitive file system.
#ifndef KX_PATH_H
#define KX_PATH_H

#include <stddef.h>
#include "kxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// Turns backslashes into slashes and replaces each component with the entry of that
// name in its folder, ignoring ASCII case; components that do not exist stay as given.
// 0 on success, -1 for a null argument or when the result does not fit in size bytes.
KX_EXPORT int kxPath_Resolve(const char* path, char* resolved, size_t size);

#ifdef __cplusplus
}
#endif

#endif
