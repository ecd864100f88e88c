// Ambients: catalogue sounds that hold a stream of their own and restart after
// random waits.
#ifndef KXSOUND_AMBIENT_AMBIENTS_H
#define KXSOUND_AMBIENT_AMBIENTS_H

#include <cstdint>

#include "base/named_node.h"
#include "core/state.h"

class SoundStream;

class AmbientEntry : public NamedNode {
public:
  explicit AmbientEntry(const char* name) : NamedNode(name) {}
  ~AmbientEntry() override;

  void ChooseDelay();
  void Pause();
  void Resume();
  AmbientEntry* NextAmbient() const { return static_cast<AmbientEntry*>(Next); }

  void* Stream = nullptr;
  uint32_t MinDelay = 0;
  uint32_t MaxDelay = 0;
  uint32_t NextDelay = 0;
  uint32_t Elapsed = 0;
  int32_t Delayed = 0;
  int32_t Paused = 0;
  // Place in the order of joining AmbientList: rises along the list.
  uint64_t Serial = 0;
};

// The tick of the delay cycles, run last in every frame update.
void UpdateAmbients();
// Drops every entry without a word to the host: at shutdown their streams die with
// the catalogue.
void ForgetAmbients();

#endif
