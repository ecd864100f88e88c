// Display names of wave format tags.
#include <cstring>

#include "core/diagnostics.h"
#include "core/state.h"
#include "wave/format_names.h"

namespace {

struct FormatName {
  uint32_t Tag;
  const char* Name;
};

constexpr FormatName FORMAT_NAMES[] = {
    {0x0001, "PCM"},
    {0x0002, "ADPCM"},
    {0x0005, "IBM CVSD"},
    {0x0006, "ALAW"},
    {0x0007, "MULAW"},
    {0x0010, "OKI ADPCM"},
    {0x0011, "DVI ADPCM"},
    {0x0012, "MEDIASPACE ADPCM"},
    {0x0013, "SIERRA_ADPCM"},
    {0x0014, "G723 ADPCM"},
    {0x0015, "DIGISTD"},
    {0x0016, "DIGIFIX"},
    {0x0017, "DIALOGIC OKI ADPCM"},
    {0x0018, "MEDIAVISION ADPCM"},
    {0x0020, "YAMAHA ADPCM"},
    {0x0021, "SONARC"},
    {0x0022, "DSPGROUP TRUESPEECH"},
    {0x0023, "ECHOSC1"},
    {0x0024, "AUDIOFILE AF36"},
    {0x0025, "APTX"},
    {0x0026, "AUDIOFILE AF10"},
    {0x0030, "DOLBY AC2"},
    {0x0031, "GSM610"},
    {0x0032, "MSNAUDIO"},
    {0x0033, "ANTEX ADPCME"},
    {0x0034, "CONTROL RES VQLPC"},
    {0x0035, "DIGIREAL"},
    {0x0036, "DIGIADPCM"},
    {0x0037, "CONTROL RES CR10"},
    {0x0038, "NMS VBXADPCM"},
    {0x0039, "CS IMAADPCM"},
    {0x003A, "ECHOSC3"},
    {0x003B, "ROCKWELL ADPCM"},
    {0x003C, "ROCKWELL DIGITALK"},
    {0x003D, "XEBEC"},
    {0x0040, "G721 ADPCM"},
    {0x0041, "G728 CELP"},
    {0x0050, "MPEG"},
    {0x0055, "MPEGLAYER3"},
    {0x0060, "CIRRUS"},
    {0x0061, "ESPCM"},
    {0x0062, "VOXWARE"},
    {0x0064, "G726 ADPCM"},
    {0x0065, "G722 ADPCM"},
    {0x0067, "DSAT DISPLAY"},
    {0x0080, "SOFTSOUND"},
    {0x0100, "RHETOREX ADPCM"},
    {0x0200, "CREATIVE ADPCM"},
    {0x0202, "CREATIVE FASTSPEECH8"},
    {0x0203, "CREATIVE FASTSPEECH10"},
    {0x0220, "QUARTERDECK"},
    {0x0300, "FM TOWNS SND"},
    {0x0400, "BTV DIGITAL"},
    {0x1000, "OLIGSM"},
    {0x1001, "OLIADPCM"},
    {0x1002, "OLICELP"},
    {0x1003, "OLISBC"},
    {0x1004, "OLIOPR"},
    {0x1100, "LH CODEC"},
    {0x1400, "NORRIS"},
};
static_assert(sizeof FORMAT_NAMES / sizeof FORMAT_NAMES[0] == 60, "sixty known tags");

}  // namespace

const char* WaveFormatName(uint32_t tag) {
  for (const FormatName& entry : FORMAT_NAMES) {
    if (entry.Tag == tag) return entry.Name;
  }
  return "UNKNOWN";
}

void qorSound_WaveFormatStr(ULONG tag, char* name) {
  if (!GateInitialized(__func__) || !name) return;
  const char* found = WaveFormatName(tag);
  std::memcpy(name, found, std::strlen(found) + 1);
}
