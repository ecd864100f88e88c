// Addresses as 32-bit tokens. A token is a slot of a fixed table and the slot's generation,
// so a token whose slot has since been reused for another address reads as null rather than
// as the wrong address.
#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "gaudio/gaudio.h"

namespace gaudio {
namespace {

constexpr uint32_t kSlotBits = 12;
constexpr uint32_t kSlots = 1u << kSlotBits;  // 4096
constexpr uint32_t kSlotMask = kSlots - 1;
constexpr uint32_t kGenerations = 1u << (32 - kSlotBits);

struct Slot {
  const void* address = nullptr;
  uint32_t generation = 0;  // 1.. while used; 0 never names a token
};

struct Table {
  std::mutex lock;
  Slot slots[kSlots];
  std::unordered_map<const void*, uint32_t> tokens;
  uint32_t next = 0;
};

Table& table() {
  static Table t;
  return t;
}

// Slot 0 of generation 0 would be the token 0, so generations start at 1.
uint32_t MakeToken(uint32_t slot, uint32_t generation) { return (generation << kSlotBits) | slot; }

}  // namespace

uint32_t Address32(const void* address) {
  if (!address) return 0;
  Table& t = table();
  std::lock_guard<std::mutex> hold(t.lock);
  auto found = t.tokens.find(address);
  if (found != t.tokens.end()) return found->second;
  // Round robin: the oldest registration gives way.
  uint32_t index = t.next;
  t.next = (t.next + 1) & kSlotMask;
  Slot& slot = t.slots[index];
  if (slot.address) t.tokens.erase(slot.address);
  slot.address = address;
  slot.generation = slot.generation + 1 == kGenerations ? 1 : slot.generation + 1;
  uint32_t token = MakeToken(index, slot.generation);
  t.tokens.emplace(address, token);
  return token;
}

const void* FromAddress32(uint32_t token) {
  if (!token) return nullptr;
  Table& t = table();
  std::lock_guard<std::mutex> hold(t.lock);
  const Slot& slot = t.slots[token & kSlotMask];
  return slot.generation == (token >> kSlotBits) ? slot.address : nullptr;
}

}  // namespace gaudio
