// OpenAL Soft with its extension prototypes, for the platform layers that use it.
#ifndef KX_PLATFORM_AUDIO_OPENAL_H
#define KX_PLATFORM_AUDIO_OPENAL_H

#ifndef AL_ALEXT_PROTOTYPES
#define AL_ALEXT_PROTOTYPES
#endif
#include <AL/al.h>
#include <AL/alc.h>
#include <AL/alext.h>

#endif
