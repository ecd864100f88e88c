// Cursor, duplicates, sample memory and the rules of buffer creation.
#include <cstring>

#include "dsound/dsound_stats.h"
#include "listening.h"

namespace {

constexpr DWORD k2D = DSBCAPS_STATIC | DSBCAPS_CTRLFREQUENCY | DSBCAPS_CTRLVOLUME;
constexpr DWORD kSlack = 2 * (22050 / 1000) * 2;  // two frames a millisecond, in bytes: 22.05 truncated

class Buffers : public ListeningTest {};

// Mono 16-bit: 2 bytes a frame, 44.1 bytes a millisecond.
DWORD BytesAt(uint32_t ms) { return ms * 441 / 10 & ~1u; }

// One buffer of a second walked through every state: stop keeps the cursor and play goes on
// from it, the cursor may be set whatever the state, and the end stops it at cursor zero.
TEST_F(Buffers, TheCursorHoldsOnStopAndIsSetInEveryState) {
  IDirectSoundBuffer* b = Tone(k2D, 1, 22050);
  EXPECT_EQ(0u, Cursor(b));
  // Never played; a byte inside a frame means that frame.
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(4411));
  EXPECT_EQ(4410u, Cursor(b));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  kxHost_Advance(300);
  ASSERT_EQ(DS_OK, b->Stop());
  DWORD stopped = Cursor(b);
  EXPECT_NEAR(4410 + BytesAt(300), stopped, kSlack);
  EXPECT_FALSE(Playing(b));
  EXPECT_EQ(stopped, Cursor(b));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  kxHost_Advance(300);
  EXPECT_NEAR(4410 + BytesAt(600), Cursor(b), kSlack);
  // Play on a playing buffer neither restarts it nor stops it.
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_NEAR(4410 + BytesAt(600), Cursor(b), kSlack);
  EXPECT_TRUE(Playing(b));

  // Playing, then stopped.
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(1000));
  EXPECT_EQ(1000u, Cursor(b));
  kxHost_Advance(10);
  EXPECT_NEAR(1000 + BytesAt(10), Cursor(b), 8);
  ASSERT_EQ(DS_OK, b->Stop());
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(2000));
  EXPECT_EQ(2000u, Cursor(b));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  kxHost_Advance(10);
  EXPECT_NEAR(2000 + BytesAt(10), Cursor(b), 8);
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(BytesAt(900)));
  EXPECT_NEAR(100, MsUntilEnd(b), 10);
  EXPECT_EQ(0u, Cursor(b)) << "a replay starts from the beginning, as heard in dsound_mix_test";
  // Ended by itself.
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(6000));
  EXPECT_EQ(6000u, Cursor(b));
  // Beyond the buffer: refused, the cursor stays.
  EXPECT_EQ(DSERR_INVALIDPARAM, b->SetCurrentPosition(44100 + 1));
  EXPECT_EQ(6000u, Cursor(b));
  EXPECT_EQ(DSERR_INVALIDPARAM, b->GetCurrentPosition(nullptr, nullptr));

  IDirectSoundBuffer* loop = Tone(k2D, 1, 2205);
  ASSERT_EQ(DS_OK, loop->Play(0, 0, DSBPLAY_LOOPING));
  EXPECT_GT(Listen(350).Both(), 0.1) << "still sounding after three times its length";
  DWORD status = 0;
  ASSERT_EQ(DS_OK, loop->GetStatus(&status));
  EXPECT_EQ(DSBSTATUS_PLAYING | DSBSTATUS_LOOPING, status);
}

TEST_F(Buffers, DuplicatesShareTheSamplesAndNothingElseAndGoWithTheDevice) {
  const uint64_t bytesBefore = kxDSound_SampleBytes();
  const uint32_t sourcesBefore = kxDSound_LiveSources();
  IDirectSoundBuffer* original = Tone(k2D, 1, 22050);
  const uint64_t oneCopy = kxDSound_SampleBytes() - bytesBefore;
  EXPECT_EQ(44100u + (48000 + 22050) * sizeof(float), oneCopy) << "as written, as mixed and as looped";
  ASSERT_EQ(DS_OK, original->SetVolume(-600));
  ASSERT_EQ(DS_OK, original->SetFrequency(11025));
  ASSERT_EQ(DS_OK, original->Play(0, 0, 0));
  kxHost_Advance(100);

  std::vector<IDirectSoundBuffer*> copies(8);
  for (IDirectSoundBuffer*& copy : copies) ASSERT_EQ(DS_OK, ds_->DuplicateSoundBuffer(original, &copy));
  EXPECT_EQ(oneCopy, kxDSound_SampleBytes() - bytesBefore);
  EXPECT_EQ(sourcesBefore + 9, kxDSound_LiveSources());

  IDirectSoundBuffer* copy = copies[0];
  LONG volume = 0;
  DWORD hz = 0;
  ASSERT_EQ(DS_OK, copy->GetVolume(&volume));
  ASSERT_EQ(DS_OK, copy->GetFrequency(&hz));
  EXPECT_EQ(-600, volume);
  EXPECT_EQ(11025u, hz);
  EXPECT_EQ(0u, Cursor(copy));
  EXPECT_FALSE(Playing(copy));
  ASSERT_EQ(DS_OK, copy->SetVolume(0));
  ASSERT_EQ(DS_OK, original->GetVolume(&volume));
  EXPECT_EQ(-600, volume);

  // The samples outlive the buffer that made them.
  ASSERT_EQ(DS_OK, original->Stop());
  EXPECT_EQ(0u, original->Release());
  buffers_.erase(std::find(buffers_.begin(), buffers_.end(), original));
  ASSERT_EQ(DS_OK, copy->Play(0, 0, DSBPLAY_LOOPING));
  EXPECT_GT(Listen(200).Both(), 0.1);
  for (IDirectSoundBuffer* c : copies) c->Release();
  EXPECT_EQ(bytesBefore, kxDSound_SampleBytes());
  EXPECT_EQ(sourcesBefore, kxDSound_LiveSources());

  // Releasing the device takes its buffers down: a caller that keeps one gets failures, not
  // a crash.
  IDirectSoundBuffer* kept = Tone(k2D | DSBCAPS_CTRL3D, 1, 2205);
  IDirectSound3DBuffer* part = Part3D(kept);
  ASSERT_EQ(DS_OK, kept->Play(0, 0, DSBPLAY_LOOPING));
  ASSERT_EQ(DS_OK, part->SetPosition(1, 2, 3, DS3D_DEFERRED));
  listener_->Release();
  listener_ = nullptr;
  EXPECT_EQ(0u, ds_->Release());
  ds_ = nullptr;
  EXPECT_EQ(sourcesBefore, kxDSound_LiveSources());
  EXPECT_GT(0, kept->Play(0, 0, 0));
  EXPECT_GT(0, kept->SetVolume(-100));
  EXPECT_GT(0, part->SetPosition(0, 0, 0, DS3D_IMMEDIATE));
  void* data = nullptr;
  DWORD bytes = 0;
  EXPECT_GT(0, kept->Lock(0, 2, &data, &bytes, nullptr, nullptr, 0));
  kxHost_Advance(10);
}

TEST_F(Buffers, CreationRefusesWhatDirectSoundRefusesAndLockGivesOnlyTheBuffer) {
  auto create = [&](DWORD flags, WAVEFORMATEX format, DWORD bytes) {
    DSBUFFERDESC desc = Desc(flags, &format, bytes);
    IDirectSoundBuffer* b = reinterpret_cast<IDirectSoundBuffer*>(1);
    HRESULT result = ds_->CreateSoundBuffer(&desc, &b, nullptr);
    EXPECT_TRUE(result >= 0 || !b) << "a refusal must leave a null buffer";
    if (result >= 0) b->Release();
    return result;
  };
  EXPECT_EQ(DS_OK, create(k2D, Pcm(1, 8, 11025), 11025));
  EXPECT_EQ(DSERR_INVALIDPARAM, create(k2D, Pcm(1, 16), 0)) << "no data";
  EXPECT_EQ(DSERR_INVALIDPARAM, create(k2D | DSBCAPS_CTRL3D, Pcm(2, 16), 4000)) << "stereo 3D";
  EXPECT_EQ(DSERR_BADFORMAT, create(k2D, Pcm(1, 24), 3000)) << "24-bit";
  EXPECT_EQ(DSERR_BADFORMAT, create(k2D, Pcm(3, 16), 6000)) << "three channels";
  WAVEFORMATEX adpcm = Pcm(1, 16);
  adpcm.wFormatTag = 2;
  EXPECT_EQ(DSERR_BADFORMAT, create(k2D, adpcm, 2000));
  WAVEFORMATEX badAlign = Pcm(2, 16);
  badAlign.nBlockAlign = 2;
  EXPECT_EQ(DSERR_INVALIDPARAM, create(k2D, badAlign, 2000));
  EXPECT_EQ(DSERR_INVALIDPARAM, create(k2D, Pcm(1, 16, 99), 2000));

  // A size that ends inside a frame grows to whole frames, as in DirectSound.
  WAVEFORMATEX format = Pcm(2, 16);
  DSBUFFERDESC desc = Desc(k2D, &format, 4001);
  IDirectSoundBuffer* b = nullptr;
  ASSERT_EQ(DS_OK, ds_->CreateSoundBuffer(&desc, &b, nullptr));
  DSBCAPS caps{};
  EXPECT_EQ(DSERR_INVALIDPARAM, b->GetCaps(&caps)) << "a caps record without its size";
  caps.dwSize = sizeof caps;
  ASSERT_EQ(DS_OK, b->GetCaps(&caps));
  EXPECT_EQ(4004u, caps.dwBufferBytes);
  b->Release();
  desc.dwSize = 20;
  EXPECT_EQ(DSERR_INVALIDPARAM, ds_->CreateSoundBuffer(&desc, &b, nullptr));
  EXPECT_EQ(DSERR_INVALIDPARAM, ds_->CreateSoundBuffer(nullptr, &b, nullptr));
  EXPECT_EQ(DSERR_INVALIDPARAM, ds_->SetCooperativeLevel(nullptr, 5));

  // Controls and interfaces come only when asked for.
  IDirectSoundBuffer* bare = Tone(DSBCAPS_STATIC, 1, 100);
  EXPECT_EQ(DSERR_CONTROLUNAVAIL, bare->SetVolume(-100));
  EXPECT_EQ(DSERR_CONTROLUNAVAIL, bare->SetFrequency(11025));
  void* part = reinterpret_cast<void*>(1);
  EXPECT_EQ(DSERR_NOINTERFACE, bare->QueryInterface(IID_IDirectSound3DBuffer, &part));
  EXPECT_EQ(nullptr, part);

  DWORD size = 0;
  ASSERT_EQ(DS_OK, bare->GetFormat(nullptr, 0, &size));
  ASSERT_EQ(18u, size);
  WAVEFORMATEX bareFormat{};
  EXPECT_EQ(DSERR_INVALIDPARAM, bare->GetFormat(&bareFormat, 17, nullptr));
  EXPECT_EQ(DS_OK, bare->GetFormat(&bareFormat, size, nullptr));

  // Lock gives the buffer's own memory (200 bytes) and refuses ranges outside it.
  void *first = nullptr, *second = nullptr;
  DWORD firstBytes = 0, secondBytes = 0;
  ASSERT_EQ(DS_OK, bare->Lock(0, 200, &first, &firstBytes, nullptr, nullptr, 0));
  ASSERT_EQ(200u, firstBytes);
  // A second lock sees what the first one wrote.
  int16_t sample = 0;
  std::memcpy(&sample, static_cast<char*>(first) + 2, 2);
  EXPECT_NEAR(16000 * std::sin(2 * M_PI * 441.0 / 22050), sample, 1);
  ASSERT_EQ(DS_OK, bare->Unlock(first, firstBytes, nullptr, 0));

  // Past the end wraps to the start.
  ASSERT_EQ(DS_OK, bare->Lock(150, 100, &first, &firstBytes, &second, &secondBytes, 0));
  EXPECT_EQ(50u, firstBytes);
  EXPECT_EQ(50u, secondBytes);
  EXPECT_EQ(static_cast<char*>(first) - 150, second);
  ASSERT_EQ(DS_OK, bare->Unlock(first, firstBytes, second, secondBytes));

  EXPECT_EQ(DSERR_INVALIDPARAM, bare->Lock(150, 100, &first, &firstBytes, nullptr, nullptr, 0));
  EXPECT_EQ(DSERR_INVALIDPARAM, bare->Lock(200, 1, &first, &firstBytes, nullptr, nullptr, 0));
  EXPECT_EQ(DSERR_INVALIDPARAM, bare->Lock(0, 201, &first, &firstBytes, &second, &secondBytes, 0));
  EXPECT_EQ(DSERR_INVALIDPARAM, bare->Lock(0, 0, &first, &firstBytes, nullptr, nullptr, 0));
  EXPECT_EQ(DSERR_INVALIDPARAM, bare->Lock(0, 10, nullptr, &firstBytes, nullptr, nullptr, 0));
  int outside = 0;
  EXPECT_EQ(DSERR_INVALIDPARAM, bare->Unlock(&outside, 2, nullptr, 0));
}

}  // namespace
