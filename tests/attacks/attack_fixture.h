// Attacks tried out: on the import that viewers make, and on gl3.
#pragma once

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/isolated/import_process.h"
#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"
#include "tests/support/common/zip_file.h"

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
};

/// The text with every pair's first occurrence replaced; one that is missing throws.
inline std::string Changed(std::string text, const Pairs& changes) {
  for (const auto& [from, to] : changes) {
    const std::size_t at = text.find(from);
    if (at == std::string::npos) throw std::runtime_error("there is no " + from);
    text.replace(at, from.size(), to);
  }
  return text;
}

/// The start of a PNG picture of that size.
inline std::string PngHeader(std::uint32_t width, std::uint32_t height) {
  const std::string size = Little(height, 4) + Little(width, 4);
  return std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) +
         std::string(size.rbegin(), size.rend()) +
         std::string("\x8\x2\0\0\0????\0\0\0\2IDAT\x78\x9c????", 23);
}

/// m.obj, with a square for each of the pictures in the same place, m.mtl, and "a.png"
/// with those bytes if there are any.
inline Pairs ObjOf(const std::vector<std::string>& pictures, const std::string& a = "",
                   const std::string& library = "m.mtl") {
  std::string materials, model = "v 0 0 0\nv 1 0 0\nv 1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\n";
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    materials += fmt::format("newmtl m{}\nKd 0.2 0.9 0.4\nmap_Kd {}\n", i, pictures[i]);
    model += fmt::format("usemtl m{}\nf 1/1 2/2 3/3\n", i);
  }
  Pairs files = {{"m.obj", "mtllib " + library + "\n" + model}, {"m.mtl", materials}};
  if (!a.empty()) files.emplace_back("a.png", a);
  return files;
}

/// Neither controls, of which ESC, U+009B and U+202E stand for all, nor what is in other files.
inline void ExpectDecent(const std::string& text) {
  for (const char* part : {"\x1b", "\x9b", "\xe2\x80\xae", "SECRET", "root:"}) {
    EXPECT_EQ(text.find(part), std::string::npos) << text;
  }
}

/// The working folder has secrets, and a folder "in" with the attack's files and ways out of it.
class Attacks : public Gl3Test {
 protected:
  Attacks() {
    Write("secret.txt", "SECRET");
    Write("secret.mtl", "newmtl m0\nKd 1 0 0\n# SECRET\n");
    WritePng(Path("secret.png"), {2, 1, {255, 0, 0, 255, 0, 0, 255, 255}});
    Lay(ObjOf({"none.png"}));
    Run("render in/m.obj" + m_draw);
    m_plain = Read("out.png");
    std::filesystem::remove(Path("out.png"));
  }

  /// Lays the files out in "in", in place of those of the attack before.
  void Lay(const Pairs& files) {
    std::filesystem::remove_all(Path("in"));
    std::filesystem::create_directory(Path("in"));
    for (const auto& [name, bytes] : files) Write("in/" + name, bytes);
    Write("in/.hidden.png", Read("secret.png"));
    std::filesystem::create_symlink("../secret.png", Path("in/link.png"));
    std::filesystem::create_symlink("..", Path("in/up"));
    std::filesystem::create_symlink("/dev/zero", Path("in/zero.png"));
    mkfifo(Path("in/pipe.png").c_str(), 0600);
  }
  /// The import alone, confined and not.
  void Import(const Attack& attack) {
    SCOPED_TRACE(attack.name);
    Lay(attack.files);
    const std::string model = Path("in/" + attack.files[0].first).string();
    for (const bool confined : {false, true}) {
      hostkit::ImportLimits limits;
      limits.processorSeconds = 20;
      limits.memory = 300 << 20;
      limits.confined = confined;
      hostkit::ImportProcess process({model}, limits);
      std::unique_ptr<hostkit::Scene> scene;
      std::string told;
      const hostkit::ImportEnd end = process.Finish({}, &scene, &told);
      const bool isRefused = attack.ends == Ends::kRefused;
      EXPECT_TRUE(end == (isRefused ? hostkit::ImportEnd::kUnreadable : hostkit::ImportEnd::kDone));
      EXPECT_EQ(scene == nullptr, isRefused);
      if (scene) told = fmt::format("{}", fmt::join(scene->warnings, "; "));
      EXPECT_TRUE(Holds(told, attack.parts));
      EXPECT_EQ(told.find(model + ": "), attack.parts.empty() ? std::string::npos : 0) << told;
      EXPECT_EQ(told.find('\n'), std::string::npos) << told;
      ExpectDecent(told);
    }
  }
  /// What gl3 tells of the model: the same, in one line where it is refused.
  void Tell(const Attack& attack, const std::string& more, const Gl3Setup& setup) {
    const bool isRefused = attack.ends == Ends::kRefused;
    const Gl3Result told = Say("info in/" + attack.files[0].first + m_limits + more, setup);
    EXPECT_EQ(told.status, isRefused ? 3 : 0) << told.err;
    EXPECT_EQ(std::count(told.err.begin(), told.err.end(), '\n'), isRefused) << told.err;
    EXPECT_TRUE(Holds(isRefused ? told.err : told.out, attack.parts));
  }
  /// The import, and gl3: by turns as it is, with --confined, and with GL3_CONFINED=1.
  void Try(const Attack& attack) {
    Import(attack);
    SCOPED_TRACE(fmt::format("gl3, {}, turn {}", attack.name, m_turn % 3));
    std::set<std::string> expected = All();
    const std::string more = m_turn % 3 == 1 ? " --confined" : "";
    const std::string line = "render in/" + attack.files[0].first + m_draw + more;
    Gl3Setup setup;
    if (m_turn % 3 == 2) setup.environment = {"GL3_CONFINED=1"};
    ++m_turn;
    Tell(attack, more, setup);
    const Gl3Result result = Say(line, setup);
    EXPECT_TRUE(Holds(result.err, attack.parts));
    EXPECT_EQ(result.err.empty(), attack.parts.empty()) << result.err;
    if (attack.ends == Ends::kRefused) {
      EXPECT_EQ(result.status, 3) << result.err;
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    } else {
      EXPECT_EQ(result.status, 0) << result.err;
      expected.insert("work/out.png");
      const bool isPlain = Read("out.png") == m_plain;
      EXPECT_TRUE(isPlain || attack.ends == Ends::kDrawn) << "it shows what it must not";
    }
    EXPECT_EQ(All(), expected);
    std::filesystem::remove(Path("out.png"));
  }
  /// Runs gl3, whose words must have no controls and no secrets.
  Gl3Result Say(const Gl3Words& words, const Gl3Setup& setup = {}) const {
    Gl3Result result = Run(words, setup);
    ExpectDecent(result.out + result.err);
    return result;
  }
  /// All that lies in the test's folder, but for what the test's own logs are.
  std::set<std::string> All() const {
    std::set<std::string> all;
    for (const std::filesystem::directory_entry& entry :
         std::filesystem::recursive_directory_iterator(m_base)) {
      const std::string name = entry.path().lexically_relative(m_base).string();
      if (!name.starts_with("logs")) all.insert(name);
    }
    return all;
  }

  const std::string m_limits = " --timeout 20 --max-memory 500M";
  const std::string m_draw = " -o out.png -s 24x18 --recipe none" + m_limits;
  std::string m_plain;  ///< The picture, as a file, of ObjOf with pictures that are missing.
  int m_turn = 0;
};
