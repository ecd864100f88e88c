#include "dsound/mixer.h"

#include <algorithm>
#include <cstring>

#include "dsound/sinc_table.h"
#include "dsound/voice.h"

namespace kxdsound {

// The interpolation tables are built here, not in the middle of a real-time piece.
Mixer::Mixer(uint32_t rate) : rate_(rate) { SincTable::For(Voice::kUnit, 0.5); }

void Mixer::Add(Voice* voice) {
  voices_.push_back(voice);
  if (audible_.capacity() < voices_.size()) audible_.reserve(voices_.capacity());
}

void Mixer::Remove(Voice* voice) {
  voices_.erase(std::remove(voices_.begin(), voices_.end(), voice), voices_.end());
  audible_.erase(std::remove(audible_.begin(), audible_.end(), voice), audible_.end());
}

void Mixer::Wake(Voice* voice) {
  if (std::find(audible_.begin(), audible_.end(), voice) == audible_.end()) audible_.push_back(voice);
}

void Mixer::Render(float* stereo, uint32_t frames) {
  std::memset(stereo, 0, sizeof(float) * 2 * frames);
  std::lock_guard<std::mutex> hold(lock_);
  for (size_t i = 0; i < audible_.size();) {
    Voice* voice = audible_[i];
    voice->Render(stereo, frames);
    if (voice->Audible()) {
      ++i;
    } else {
      audible_[i] = audible_.back();
      audible_.pop_back();
    }
  }
}

}  // namespace kxdsound
