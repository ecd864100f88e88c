// What a listener hears of volume, frequency and the 3D model.
#include "listening.h"

namespace {

constexpr DWORD k2D = DSBCAPS_STATIC | DSBCAPS_CTRLFREQUENCY | DSBCAPS_CTRLVOLUME;
constexpr DWORD k3D = k2D | DSBCAPS_CTRL3D;
constexpr uint32_t kSecond = 22050;

class Levels : public ListeningTest {};

TEST_F(Levels, VolumeIsHundredthsOfADecibelAndRefusedOutsideItsRange) {
  IDirectSoundBuffer* b = Tone(k2D, 1, kSecond);
  ASSERT_EQ(DS_OK, b->Play(0, 0, DSBPLAY_LOOPING));
  Level full = Listen(200);
  ASSERT_GT(full.Both(), 0.05);

  ASSERT_EQ(DS_OK, b->SetVolume(-600));
  EXPECT_NEAR(-6.0, Decibels(Listen(200).Both(), full.Both()), 0.5);

  EXPECT_EQ(DSERR_INVALIDPARAM, b->SetVolume(1));
  EXPECT_EQ(DSERR_INVALIDPARAM, b->SetVolume(-10001));
  EXPECT_NEAR(-6.0, Decibels(Listen(200).Both(), full.Both()), 0.5) << "a refused volume leaves the level";

  ASSERT_EQ(DS_OK, b->SetVolume(DSBVOLUME_MIN));
  EXPECT_EQ(0.0, Listen(200).Both()) << "the bottom of the range is silence";
}

// Without 3D control a buffer ignores the listener: mono sits centred on it, stereo plays as
// recorded, left to left and right to right.
TEST_F(Levels, PlainBuffersIgnoreTheListener) {
  IDirectSoundBuffer* mono = Tone(k2D, 1, kSecond);
  ASSERT_EQ(DS_OK, mono->Play(0, 0, DSBPLAY_LOOPING));
  Level here = Listen(200);
  ASSERT_EQ(DS_OK, listener_->SetPosition(100, 0, 0, DS3D_IMMEDIATE));
  Level away = Listen(200);
  EXPECT_NEAR(here.left, away.left, 1e-4);
  EXPECT_NEAR(away.left, away.right, 1e-4);
  ASSERT_EQ(DS_OK, mono->Stop());

  IDirectSoundBuffer* stereo = Tone(k2D, 2, kSecond, kRate, 1);
  ASSERT_EQ(DS_OK, stereo->Play(0, 0, DSBPLAY_LOOPING));
  Level level = Listen(200);
  // 16000 of 32768 at full scale: a sine of that peak, untouched by any panning law.
  EXPECT_NEAR(16000.0 / 32768 / std::sqrt(2.0), level.left, 0.002);
  EXPECT_EQ(0.0, level.right);
}

TEST_F(Levels, FrequencySetsTheSpeedAndRefusesOutsideDirectSoundsRange) {
  IDirectSoundBuffer* b = Tone(k2D, 1, kSecond / 2);
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  uint32_t original = MsUntilEnd(b);
  EXPECT_NEAR(500, original, 10);

  ASSERT_EQ(DS_OK, b->SetFrequency(2 * kSecond));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_NEAR(250, MsUntilEnd(b), 10);

  EXPECT_EQ(DSERR_INVALIDPARAM, b->SetFrequency(99));
  EXPECT_EQ(DSERR_INVALIDPARAM, b->SetFrequency(200001));
  DWORD hz = 0;
  ASSERT_EQ(DS_OK, b->GetFrequency(&hz));
  EXPECT_EQ(2 * kSecond, hz);

  ASSERT_EQ(DS_OK, b->SetFrequency(DSBFREQUENCY_ORIGINAL));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_EQ(original, MsUntilEnd(b));
}

class Space : public ListeningTest {
protected:
  // A looping 3D tone, positioned at once.
  IDirectSound3DBuffer* Voice(float x, float y, float z, DWORD flags = k3D) {
    IDirectSoundBuffer* b = Tone(flags, 1, kSecond);
    IDirectSound3DBuffer* part = Part3D(b);
    EXPECT_EQ(DS_OK, part->SetPosition(x, y, z, DS3D_IMMEDIATE));
    EXPECT_EQ(DS_OK, b->Play(0, 0, DSBPLAY_LOOPING));
    return part;
  }
  // Moves a voice at once and listens to it.
  Level At(IDirectSound3DBuffer* v, float x, float y, float z) {
    EXPECT_EQ(DS_OK, v->SetPosition(x, y, z, DS3D_IMMEDIATE));
    return Listen(200);
  }
};

TEST_F(Space, DistanceAttenuatesByMinDistanceAndRolloff) {
  IDirectSound3DBuffer* v = Voice(0, 0, 0.5f);
  Level inside = Listen(200);
  ASSERT_GT(inside.Both(), 0.01);

  EXPECT_NEAR(-6.02, Decibels(At(v, 0, 0, 2).Both(), inside.Both()), 0.3);

  // A min distance of 4 puts 2 units inside it again.
  ASSERT_EQ(DS_OK, v->SetMinDistance(4, DS3D_IMMEDIATE));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3);

  ASSERT_EQ(DS_OK, v->SetMinDistance(1, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, listener_->SetRolloffFactor(2, DS3D_IMMEDIATE));
  EXPECT_NEAR(Decibels(1.0, 3), Decibels(Listen(200).Both(), inside.Both()), 0.3) << "1 / (1 + 2 x (2 - 1))";
  ASSERT_EQ(DS_OK, listener_->SetRolloffFactor(0, DS3D_IMMEDIATE));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3);

  EXPECT_EQ(DSERR_INVALIDPARAM, listener_->SetRolloffFactor(10.5f, DS3D_IMMEDIATE));
  EXPECT_EQ(DSERR_INVALIDPARAM, listener_->SetDistanceFactor(0, DS3D_IMMEDIATE));
  EXPECT_EQ(DSERR_INVALIDPARAM, v->SetMinDistance(-1, DS3D_IMMEDIATE));
  EXPECT_EQ(DSERR_INVALIDPARAM, v->SetMode(3, DS3D_IMMEDIATE));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3) << "refused settings change nothing";
}

// Left-handed axes: +x right (heard all the way round in dsound_mix_test), so -x is left;
// facing +x (a quarter turn to the right), -z is on the right, and the zero top means +y.
TEST_F(Space, LeftAndRightFollowTheLeftHandedAxes) {
  IDirectSound3DBuffer* v = Voice(-3, 0, 0);
  Level left = Listen(200);
  EXPECT_GT(left.left, 4 * left.right);
  ASSERT_EQ(DS_OK, listener_->SetOrientation(1, 0, 0, 0, 0, 0, DS3D_IMMEDIATE));
  Level turned = At(v, 0, 0, -3);
  EXPECT_GT(turned.right, 4 * turned.left);
}

TEST_F(Space, MaxDistanceClampsOrMutesWhereTheBufferAsks) {
  IDirectSound3DBuffer* plain = Voice(0, 0, 4);
  ASSERT_EQ(DS_OK, plain->SetMaxDistance(4, DS3D_IMMEDIATE));
  Level atMax = Listen(200);
  ASSERT_GT(atMax.Both(), 0.01);
  EXPECT_NEAR(0.0, Decibels(At(plain, 0, 0, 8).Both(), atMax.Both()), 0.3) << "held at the gain of max distance";
  ASSERT_EQ(DS_OK, buffers_.back()->Stop());

  IDirectSound3DBuffer* muting = Voice(0, 0, 3.9f, k3D | DSBCAPS_MUTE3DATMAXDISTANCE);
  ASSERT_EQ(DS_OK, muting->SetMaxDistance(4, DS3D_IMMEDIATE));
  Level near = Listen(200);
  ASSERT_GT(near.Both(), 0.01);
  EXPECT_EQ(0.0, At(muting, 0, 0, 4.5f).Both());
  // The listener walking up to it brings it back.
  ASSERT_EQ(DS_OK, listener_->SetPosition(0, 0, 1, DS3D_IMMEDIATE));
  EXPECT_GT(Listen(200).Both(), near.Both());
}

TEST_F(Space, DeferredSettingsWaitForTheCommit) {
  IDirectSound3DBuffer* v = Voice(0, 0, 0.5f);
  Level near = Listen(200);
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 8, DS3D_DEFERRED));
  ASSERT_EQ(DS_OK, listener_->SetRolloffFactor(2, DS3D_DEFERRED));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), near.Both()), 0.3);
  D3DVECTOR at{};
  ASSERT_EQ(DS_OK, v->GetPosition(&at));
  EXPECT_EQ(8.0f, at.z) << "reads give the value set, committed or not";

  ASSERT_EQ(DS_OK, listener_->CommitDeferredSettings());
  EXPECT_NEAR(Decibels(1.0, 15), Decibels(Listen(200).Both(), near.Both()), 0.3) << "1 / (1 + 2 x (8 - 1))";

  // An immediate setting overrides the deferred one of the same kind.
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 30, DS3D_DEFERRED));
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 0.5f, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, listener_->CommitDeferredSettings());
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), near.Both()), 0.3);
}

// Doppler: approaching at half the speed of sound doubles the pitch. The speed of sound is
// 343.3 m/s over the distance factor (metres per unit), and velocities take the z flip too.
TEST_F(Space, DopplerFollowsVelocityAndDistanceFactor) {
  IDirectSoundBuffer* b = Tone(k3D, 1, kSecond / 2);
  IDirectSound3DBuffer* v = Part3D(b);
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 100, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, listener_->SetDistanceFactor(2, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, v->SetVelocity(0, 0, -343.3f / 4, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_NEAR(250, MsUntilEnd(b), 10);

  ASSERT_EQ(DS_OK, listener_->SetDopplerFactor(0, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_NEAR(500, MsUntilEnd(b), 10);
}

}  // namespace
