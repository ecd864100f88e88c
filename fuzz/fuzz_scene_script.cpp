// Arbitrary bytes as a scene script, read and checked as kxsound run reads it before
// anything plays. The lines it keeps are in order and say something, the waits add up,
// and every line's words come back the same when each is quoted and split again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "common/words.h"
#include "fuzz_support.h"
#include "scene/scene_script.h"
#include "scene/scene_session.h"

namespace {

std::FILE* Messages = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Messages = std::fopen("/dev/null", "w");
  if (!Messages) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::istringstream in(text);
  std::vector<ScriptLine> script;
  uint64_t totalMs = 0;
  ReadScript(in, "fuzz", Messages, &script, &totalMs);
  uint64_t waits = 0;
  int last = 0;
  for (const ScriptLine& line : script) {
    if (line.Line.Op == SceneOp::Nothing || line.Number <= last) std::abort();
    last = line.Number;
    if (line.Line.Op == SceneOp::Wait) waits += line.Line.Ms;
    const std::string& said = line.Line.Text;
    if (line.Line.Op == SceneOp::Console && (said.empty() || said.back() == '\r' || said.back() == '\n')) std::abort();
  }
  if (waits != totalMs) std::abort();

  for (const std::string& line : Lines(data, size, 16)) {
    std::vector<std::string> words = kx::splitWords(line);
    std::string quoted;
    for (const std::string& word : words) quoted += "\"" + word + "\" ";
    if (kx::splitWords(quoted) != words) std::abort();
  }
  return 0;
}
