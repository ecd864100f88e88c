// The sounds of the demo, made from sines and noise so the demo needs no files from anywhere.
// Mono, at kRate; every call gives the same samples.
#pragma once

#include <cstdint>
#include <vector>

namespace synth {

constexpr uint32_t kRate = 22050;

std::vector<float> DoorKnock();
std::vector<float> DoorCreak();
std::vector<float> Footstep(int variant);
std::vector<float> BirdSong();
// A hum of period samples per cycle, whole cycles only, so that files of it follow each
// other without a click.
std::vector<float> EngineHum(int period);
std::vector<float> Wind();
std::vector<float> Chime();
// A gunshot: a crack and a low body; variants 0..2 differ a little.
std::vector<float> Shot(int variant);

}  // namespace synth
