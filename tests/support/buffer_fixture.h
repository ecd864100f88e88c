// A running module on the offline output, with wave files made on demand.
#pragma once

#include "module_fixture.h"
#include "dsound/dsound.h"
#include "listen.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"
#include "wave_file.h"

class BufferTest : public ModuleTest {
protected:
  void TearDown() override {
    for (SoundBuffer*& buffer : made) SoundBuffer_Release(&buffer);
    ModuleTest::TearDown();
  }
  // A sine file of the given shape; the buffer is released at the end of the test.
  SoundBuffer* Load(double seconds, int is3D = 0, int channels = 1, uint32_t rate = 22050, uint16_t bits = 16,
                    double hz = 440) {
    WaveShape shape;
    shape.Channels = static_cast<uint16_t>(channels);
    shape.SampleRate = rate;
    shape.Bits = bits;
    shape.Data = Tone(hz, seconds, static_cast<int>(rate), channels, bits, 0.5);
    std::string path = WriteWave(root, "tone" + std::to_string(made.size()) + ".wav", shape);
    return Keep(SoundBuffer_LoadFile(path.c_str(), is3D));
  }
  SoundBuffer* Keep(SoundBuffer* buffer) {
    if (buffer) made.push_back(buffer);
    return buffer;
  }
  static DWORD Cursor(SoundBuffer* buffer) {
    DWORD play = 0;
    buffer->DirectBuffer->GetCurrentPosition(&play, nullptr);
    return play;
  }
  static int32_t SoundsCreated() {
    int32_t value = 0;
    kxHost_GetVar("sounds_created", &value);
    return value;
  }

  std::vector<SoundBuffer*> made;
};
