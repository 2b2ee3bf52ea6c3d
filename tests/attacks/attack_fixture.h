// Attacks tried out: on the import that viewers make, and on gl3.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/common/gl3_process.h"

/// Names in a folder and the bytes there. In text: what is there, and what is to be instead.
using Pairs = std::vector<std::pair<std::string, std::string>>;

/// What must come of a model.
enum class Ends {
  kRefused,  ///< Status 3, one line, nothing written.
  kPlain,    ///< Drawn like the plain picture, with warnings.
  kDrawn,    ///< Drawn, with warnings if there are parts of them.
};

struct Attack {
  const char* name;
  Pairs files;  ///< The first one is the model.
  Ends ends = Ends::kRefused;
  std::vector<std::string> parts = {};  ///< Of the refusal, or of the warnings together.
  std::size_t size = 0;                 ///< Of the model, with zeros at its end; 0: as it is.
};

/// The working folder has secrets, and a folder "in" with the attack's files and ways out of it.
class Attacks : public Gl3Test {
 protected:
  Attacks();

  /// Lays the files out in "in", in place of those of the attack before.
  void Lay(const Pairs& files);
  /// The import alone, confined and not.
  void Import(const Attack& attack);
  /// The import, and gl3: by turns as it is, with --confined, and with GL3_CONFINED=1.
  void Try(const Attack& attack);
  /// Runs gl3, whose words must have no controls and no secrets.
  Gl3Result Say(const Gl3Words& words, const Gl3Setup& setup = {}) const;
  std::string Bytes(const std::string& name) const;
  /// All that lies in the test's folder, but for what the test's own logs are.
  std::set<std::string> All() const;

  const std::string m_draw = " -o out.png -s 24x18 --recipe none --timeout 20 --max-memory 500M";
  std::string m_plain;  ///< The picture, as a file, of ObjOf with pictures that are missing.
  int m_turn = 0;
};

/// The text with every pair's first occurrence replaced; one that is missing throws.
std::string Changed(std::string text, const Pairs& changes);
/// m.obj, with a square for each of the pictures in the same place, m.mtl, and "a.png"
/// with those bytes if there are any.
Pairs ObjOf(const std::vector<std::string>& pictures, const std::string& a = "",
            const std::string& library = "m.mtl");
/// The start of a PNG picture of that size.
std::string PngHeader(std::uint32_t width, std::uint32_t height);
/// So many bytes of a number, the lowest first.
std::string Little(std::uint64_t value, int count);
