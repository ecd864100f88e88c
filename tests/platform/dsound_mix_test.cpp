// What the mix makes of the source: levels against it, the pan law, the spectrum at every
// rate a file may have, and the joints where a voice stops, jumps or ends.
#include <functional>

#include "listening.h"

namespace {

constexpr DWORD k2D = DSBCAPS_STATIC | DSBCAPS_CTRLFREQUENCY | DSBCAPS_CTRLVOLUME;
constexpr DWORD k3D = k2D | DSBCAPS_CTRL3D;
constexpr double kAmplitude = 16000.0 / 32768;  // of the test tones
const double kSourceRms = kAmplitude / std::sqrt(2.0);

std::vector<int16_t> Sine(DWORD rate, std::vector<double> hz, double seconds, WORD channels = 1) {
  std::vector<int16_t> s(static_cast<size_t>(rate * seconds) * channels);
  for (size_t i = 0; i < s.size(); ++i) {
    double v = 0;
    for (double f : hz) v += std::sin(2 * M_PI * f * static_cast<double>(i / channels) / rate);
    s[i] = static_cast<int16_t>(16000 * v / static_cast<double>(hz.size()));
  }
  return s;
}

class Mix : public ListeningTest {};

// DirectSound plays a centred buffer at full level in both ears: mono as loud as stereo.
TEST_F(Mix, EveryCentredSoundPlaysAtTheSourcesLevelInEachEar) {
  struct Case {
    const char* name;
    DWORD flags;
    WORD channels;
    std::function<void(IDirectSound3DBuffer*)> place;
  };
  const Case cases[] = {
      {"2D mono", k2D, 1, nullptr},
      {"3D ahead", k3D, 1, [](IDirectSound3DBuffer* p) { p->SetPosition(0, 0, 0.5f, DS3D_IMMEDIATE); }},
      {"3D above", k3D, 1, [](IDirectSound3DBuffer* p) { p->SetPosition(0, 0.5f, 0, DS3D_IMMEDIATE); }},
      {"3D off, far to the side", k3D, 1,
       [](IDirectSound3DBuffer* p) {
         p->SetPosition(50, 0, 0, DS3D_IMMEDIATE);
         p->SetMode(DS3DMODE_DISABLE, DS3D_IMMEDIATE);
       }},
  };
  for (const Case& c : cases) {
    IDirectSoundBuffer* b = Make(c.flags, c.channels, kRate, Sine(kRate, {441}, 1.0, c.channels));
    if (c.place) c.place(Part3D(b));
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
  IDirectSoundBuffer* b = Make(k3D, 1, kRate, Sine(kRate, {441}, 1.0));
  IDirectSound3DBuffer* part = Part3D(b);
  ASSERT_EQ(DS_OK, b->Play(0, 0, DSBPLAY_LOOPING));
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
