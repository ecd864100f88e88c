// What a listener hears of the mix: volume, frequency and the 3D model, levels against the
// source, the pan law, the spectrum at every rate a file may have, and the joints where a
// voice stops, jumps or ends.
#include "listening.h"

namespace {

constexpr DWORD k2D = DSBCAPS_STATIC | DSBCAPS_CTRLFREQUENCY | DSBCAPS_CTRLVOLUME;
constexpr DWORD k3D = k2D | DSBCAPS_CTRL3D;
constexpr double kAmplitude = 16000.0 / 32768;  // of the test tones
const double kSourceRms = kAmplitude / std::sqrt(2.0);
constexpr uint32_t kSecond = 22050;

// Mono: the sum of these tones, at the test tones' peak.
std::vector<int16_t> Sine(DWORD rate, std::vector<double> hz, double seconds) {
  std::vector<int16_t> s(static_cast<size_t>(rate * seconds));
  for (size_t i = 0; i < s.size(); ++i) {
    double v = 0;
    for (double f : hz) v += std::sin(2 * M_PI * f * static_cast<double>(i) / rate);
    s[i] = static_cast<int16_t>(16000 * v / static_cast<double>(hz.size()));
  }
  return s;
}

class Mix : public ListeningTest {
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

// Without 3D control a buffer ignores the listener: mono sits centred on it, stereo plays as
// recorded, left to left and right to right. Volume is hundredths of a decibel.
TEST_F(Mix, PlainBuffersIgnoreTheListenerAndTakeVolumeInHundredthsOfADecibel) {
  IDirectSoundBuffer* mono = Tone(k2D, 1, kSecond);
  ASSERT_EQ(DS_OK, mono->Play(0, 0, DSBPLAY_LOOPING));
  Level full = Listen(200);
  ASSERT_EQ(DS_OK, listener_->SetPosition(100, 0, 0, DS3D_IMMEDIATE));
  Level away = Listen(200);
  EXPECT_NEAR(full.left, away.left, 1e-4);
  EXPECT_NEAR(away.left, away.right, 1e-4);

  ASSERT_EQ(DS_OK, mono->SetVolume(-600));
  EXPECT_NEAR(-6.0, Decibels(Listen(200).Both(), full.Both()), 0.5);
  EXPECT_EQ(DSERR_INVALIDPARAM, mono->SetVolume(1));
  EXPECT_EQ(DSERR_INVALIDPARAM, mono->SetVolume(-10001));
  EXPECT_NEAR(-6.0, Decibels(Listen(200).Both(), full.Both()), 0.5) << "a refused volume leaves the level";
  ASSERT_EQ(DS_OK, mono->SetVolume(DSBVOLUME_MIN));
  EXPECT_EQ(0.0, Listen(200).Both()) << "the bottom of the range is silence";

  IDirectSoundBuffer* stereo = Tone(k2D, 2, kSecond, kRate, 1);
  ASSERT_EQ(DS_OK, stereo->Play(0, 0, DSBPLAY_LOOPING));
  Level level = Listen(200);
  // A sine of the source's peak, untouched by any panning law.
  EXPECT_NEAR(kSourceRms, level.left, 0.002);
  EXPECT_EQ(0.0, level.right);
}

TEST_F(Mix, DistanceAttenuatesByMinDistanceAndRolloffOnceCommitted) {
  IDirectSound3DBuffer* v = Voice(0, 0, 0.5f);
  Level inside = Listen(200);
  ASSERT_GT(inside.Both(), 0.01);

  EXPECT_NEAR(-6.02, Decibels(At(v, 0, 0, 2).Both(), inside.Both()), 0.3);

  // A min distance of 4 puts 2 units inside it again.
  ASSERT_EQ(DS_OK, v->SetMinDistance(4, DS3D_IMMEDIATE));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3);

  ASSERT_EQ(DS_OK, v->SetMinDistance(1, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, listener_->SetRolloffFactor(0, DS3D_IMMEDIATE));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3);

  EXPECT_EQ(DSERR_INVALIDPARAM, listener_->SetRolloffFactor(10.5f, DS3D_IMMEDIATE));
  EXPECT_EQ(DSERR_INVALIDPARAM, listener_->SetDistanceFactor(0, DS3D_IMMEDIATE));
  EXPECT_EQ(DSERR_INVALIDPARAM, v->SetMinDistance(-1, DS3D_IMMEDIATE));
  EXPECT_EQ(DSERR_INVALIDPARAM, v->SetMode(3, DS3D_IMMEDIATE));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3) << "refused settings change nothing";

  // Deferred settings wait for the commit.
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 8, DS3D_DEFERRED));
  ASSERT_EQ(DS_OK, listener_->SetRolloffFactor(2, DS3D_DEFERRED));
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3);
  D3DVECTOR at{};
  ASSERT_EQ(DS_OK, v->GetPosition(&at));
  EXPECT_EQ(8.0f, at.z) << "reads give the value set, committed or not";
  ASSERT_EQ(DS_OK, listener_->CommitDeferredSettings());
  EXPECT_NEAR(Decibels(1.0, 15), Decibels(Listen(200).Both(), inside.Both()), 0.3) << "1 / (1 + 2 x (8 - 1))";
  // An immediate setting overrides the deferred one of the same kind.
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 30, DS3D_DEFERRED));
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 0.5f, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, listener_->CommitDeferredSettings());
  EXPECT_NEAR(0.0, Decibels(Listen(200).Both(), inside.Both()), 0.3);
}

// Left-handed axes: +x right (heard all the way round in the mix tests below), so -x is left;
// facing +x (a quarter turn to the right), -z is on the right, and the zero top means +y.
TEST_F(Mix, LeftAndRightFollowTheLeftHandedAxes) {
  IDirectSound3DBuffer* v = Voice(-3, 0, 0);
  Level left = Listen(200);
  EXPECT_GT(left.left, 4 * left.right);
  ASSERT_EQ(DS_OK, listener_->SetOrientation(1, 0, 0, 0, 0, 0, DS3D_IMMEDIATE));
  Level turned = At(v, 0, 0, -3);
  EXPECT_GT(turned.right, 4 * turned.left);
}

TEST_F(Mix, MaxDistanceClampsOrMutesWhereTheBufferAsks) {
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

// The frequency sets the speed, within DirectSound's range. Doppler: approaching at half
// the speed of sound doubles the pitch. The speed of sound is 343.3 m/s over the distance
// factor (metres per unit), and velocities take the z flip too.
TEST_F(Mix, FrequencyAndDopplerSetTheSpeed) {
  IDirectSoundBuffer* b = Tone(k3D, 1, kSecond / 2);
  IDirectSound3DBuffer* v = Part3D(b);
  ASSERT_EQ(DS_OK, v->SetPosition(0, 0, 100, DS3D_IMMEDIATE));
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

  ASSERT_EQ(DS_OK, listener_->SetDistanceFactor(2, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, v->SetVelocity(0, 0, -343.3f / 4, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_NEAR(250, MsUntilEnd(b), 10);
  ASSERT_EQ(DS_OK, listener_->SetDopplerFactor(0, DS3D_IMMEDIATE));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_NEAR(500, MsUntilEnd(b), 10);
}

// DirectSound plays a centred buffer at full level in both ears: mono as loud as stereo.
TEST_F(Mix, EveryCentredSoundPlaysAtTheSourcesLevelInEachEar) {
  struct Case {
    const char* name;
    DWORD flags;
    D3DVECTOR at;
    DWORD mode;
  };
  for (const Case& c : {Case{"2D", k2D, {}, DS3DMODE_NORMAL}, Case{"3D ahead", k3D, {0, 0, 0.5f}, DS3DMODE_NORMAL},
                        Case{"3D above", k3D, {0, 0.5f, 0}, DS3DMODE_NORMAL},
                        Case{"3D off, far to the side", k3D, {50, 0, 0}, DS3DMODE_DISABLE}}) {
    IDirectSoundBuffer* b = Tone(c.flags, 1, kSecond);
    if (c.flags & DSBCAPS_CTRL3D) {
      ASSERT_EQ(DS_OK, Part3D(b)->SetPosition(c.at.x, c.at.y, c.at.z, DS3D_IMMEDIATE));
      ASSERT_EQ(DS_OK, parts_.back()->SetMode(c.mode, DS3D_IMMEDIATE));
    }
    ASSERT_EQ(DS_OK, b->Play(0, 0, DSBPLAY_LOOPING));
    Level heard = Listen(300);
    EXPECT_NEAR(0.0, Decibels(heard.left, kSourceRms), 0.5) << c.name;
    EXPECT_NEAR(0.0, Decibels(heard.right, kSourceRms), 0.5) << c.name;
    ASSERT_EQ(DS_OK, b->Stop());
  }
}

// Around the listener at a constant distance: the near ear stays at the source's level, the
// far one falls smoothly toward the side, and behind sounds as in front.
TEST_F(Mix, TheFarEarFallsSmoothlyAndBehindSoundsAsInFront) {
  IDirectSound3DBuffer* part = Voice(0, 0, 0.5f);
  std::vector<Level> around;
  for (int degrees = 0; degrees <= 180; degrees += 15) {
    const double a = degrees * M_PI / 180;
    ASSERT_EQ(DS_OK, part->SetPosition(static_cast<float>(0.5 * std::sin(a)), 0, static_cast<float>(0.5 * std::cos(a)),
                                       DS3D_IMMEDIATE));
    around.push_back(Listen(200));
  }
  for (size_t i = 0; i < around.size(); ++i) {
    const int degrees = static_cast<int>(i) * 15;
    EXPECT_NEAR(0.0, Decibels(around[i].right, kSourceRms), 0.2) << degrees << "°: the near ear";
    const Level& mirror = around[around.size() - 1 - i];
    EXPECT_NEAR(Decibels(around[i].Both(), mirror.Both()), 0.0, 1.0) << degrees << "° against " << 180 - degrees << "°";
    if (degrees == 90) continue;
    EXPECT_GT(Decibels(around[i].left, kSourceRms), -40.0) << degrees << "°: the far ear still hears it";
    if (degrees < 90 && i > 0) {
      const double fall = Decibels(around[i - 1].left, around[i].left);
      EXPECT_GT(fall, 0.5) << degrees << "°: falls all the way";
      EXPECT_LT(fall, 15.0) << degrees << "°: without a cliff";
    }
  }
  EXPECT_LT(around[6].left, 1e-3) << "silent only right at the side";
}

// A file at any rate, its content up to 0.4 of that rate: the tone where it belongs, and no
// alias or image within 50 dB of it, at the file's own pitch and away from it.
TEST_F(Mix, NoAliasOrImageAtAnyRateOrPitch) {
  struct Case {
    DWORD rate;
    double pitch;  // frequency set / file rate
  };
  const Case cases[] = {{8000, 1},  {11025, 1}, {16000, 1},   {22050, 1},   {32000, 1},   {44100, 1},
                        {48000, 1}, {96000, 1}, {22050, 0.8}, {22050, 1.3}, {44100, 1.1}, {11025, 2.5}};
  for (const Case& c : cases) {
    const double top = 0.4 * c.rate;
    // Content above the output's Nyquist can't be heard: then a low tone is the signal.
    const bool audible = top * c.pitch < 0.45 * kMixRate;
    std::vector<double> tones = {top};
    if (!audible) tones.insert(tones.begin(), 1000.0);
    IDirectSoundBuffer* b = Make(k2D, 1, c.rate, Sine(c.rate, tones, 0.5 * c.pitch + 0.1));
    ASSERT_EQ(DS_OK, b->SetFrequency(static_cast<DWORD>(c.rate * c.pitch)));
    ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
    DropCapture();
    Capture heard = ::Listen(400);
    std::vector<float> steady(heard.Left.begin() + kMixRate / 50, heard.Left.end());
    std::vector<double> expected;
    for (double hz : tones)
      if (hz * c.pitch < 0.45 * kMixRate) expected.push_back(hz * c.pitch);
    const std::string what = std::to_string(c.rate) + " Hz at pitch " + std::to_string(c.pitch);
    const Spectrum spectrum(steady, kMixRate);
    EXPECT_LT(spectrum.WorstSpuriousDb(expected), -50.0) << what;
    EXPECT_NEAR(Decibels(spectrum.ToneRms(expected.back()), kSourceRms / static_cast<double>(tones.size())), 0.0, 0.5)
        << what << ": the tone at its level";
    ASSERT_EQ(DS_OK, b->Stop());
  }
}

// Stop, and a jump of the cursor while playing, fade out what was heard instead of cutting
// the wave; the calls still report the new state at once.
TEST_F(Mix, StopsAndJumpsFadeWithoutAClick) {
  const double ownStep = kAmplitude * 2 * std::sin(M_PI * 441 / kMixRate);  // the sine's own largest step
  for (bool jump : {false, true}) {
    SCOPED_TRACE(jump ? "a jump" : "a stop");
    IDirectSoundBuffer* b = Make(k2D, 1, kRate, Sine(kRate, {441}, 1.0));
    ASSERT_EQ(DS_OK, b->Play(0, 0, DSBPLAY_LOOPING));
    DropCapture();
    // Mid-period, where the wave is far from zero.
    kxHost_Advance(103);
    const DWORD before = Cursor(b);
    ASSERT_EQ(DS_OK, jump ? b->SetCurrentPosition(2000) : b->Stop());
    DWORD status = 1;
    ASSERT_EQ(DS_OK, b->GetStatus(&status));
    EXPECT_EQ(jump ? DSBSTATUS_PLAYING | DSBSTATUS_LOOPING : 0u, status);
    EXPECT_NEAR(jump ? 2000u : before, Cursor(b), jump ? 2u : 0u) << "the cursor where the call put or left it";
    EXPECT_LT(LargestStep(::Listen(100).Left), 1.5 * ownStep);
    ASSERT_EQ(DS_OK, b->Stop());
  }
  EXPECT_EQ(0.0, Listen(100, 10).Both()) << "faded out within 10 ms";
}

// A cursor at the very end plays nothing; a buffer that ran out after a pause and a jump
// starts again from its beginning.
TEST_F(Mix, EndsAreEndsAndAReplayStartsFromTheBeginning) {
  std::vector<int16_t> clip = Sine(kRate, {441}, 0.1);
  std::vector<int16_t> rest = Sine(kRate, {1764}, 0.2);
  clip.insert(clip.end(), rest.begin(), rest.end());  // 100 ms low, 200 ms high
  IDirectSoundBuffer* b = Make(k2D, 1, kRate, clip);
  const DWORD size = static_cast<DWORD>(clip.size() * 2);
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(size));
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  EXPECT_EQ(0.0, Listen(50, 0).Both()) << "nothing left to play at the end";
  EXPECT_FALSE(Playing(b));

  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  kxHost_Advance(50);
  ASSERT_EQ(DS_OK, b->Stop());
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  ASSERT_EQ(DS_OK, b->SetCurrentPosition(size / 2));
  EXPECT_GT(MsUntilEnd(b), 0u);
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  DropCapture();
  Capture heard = ::Listen(60);
  EXPECT_NEAR(441, heard.Hz(0.01, 0.06), 30) << "the beginning first";
}

// A loop whose samples join up sounds as one unbroken tone, whatever its rate and even when its
// length is no whole number of mix frames.
TEST_F(Mix, ALoopIsSeamlessAtAnyRate) {
  struct Case {
    DWORD rate;
    uint32_t frames;
    double hz;  // a whole number of periods in the loop
  };
  for (const Case& c :
       {Case{11025, 11025, 441}, Case{22050, 2000, 441}, Case{44100, 4000, 441}, Case{96000, 2000, 480}}) {
    IDirectSoundBuffer* b = Make(k2D, 1, c.rate, Sine(c.rate, {c.hz}, c.frames / static_cast<double>(c.rate)));
    kxHost_Advance(20);
    DropCapture();
    ASSERT_EQ(DS_OK, b->Play(0, 0, DSBPLAY_LOOPING));
    Capture heard = ::Listen(1500);
    double worst = 0;
    for (size_t i = kMixRate / 100; i < heard.Left.size(); ++i)
      worst = std::max(worst, std::fabs(heard.Left[i] - kAmplitude * std::sin(2 * M_PI * c.hz * i / kMixRate)));
    EXPECT_LT(Decibels(worst, kAmplitude), -60.0) << c.rate << " Hz, " << c.frames << " frames";
    ASSERT_EQ(DS_OK, b->Stop());
  }
}

}  // namespace
