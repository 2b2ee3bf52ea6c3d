// Attacks tried out: on the import that viewers make, and on gl3.
#include "tests/attacks/attack_fixture.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "hostkit/isolated/import_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

/// Neither controls, of which ESC, U+009B and U+202E stand for all, nor what is in other files.
void ExpectDecent(const std::string& text) {
  for (const char* part : {"\x1b", "\x9b", "\xe2\x80\xae", "SECRET", "root:"}) {
    EXPECT_EQ(text.find(part), std::string::npos) << text;
  }
}

}  // namespace

Attacks::Attacks() {
  Write("secret.txt", "SECRET");
  Write("secret.mtl", "newmtl m0\nKd 1 0 0\n# SECRET\n");
  WritePng(Path("secret.png"), {2, 1, {255, 0, 0, 255, 0, 0, 255, 255}});
  Lay(ObjOf({"none.png"}));
  Run("render in/m.obj" + m_draw);
  m_plain = Bytes("out.png");
  fs::remove(Path("out.png"));
}

void Attacks::Lay(const Pairs& files) {
  fs::remove_all(Path("in"));
  fs::create_directory(Path("in"));
  for (const auto& [name, bytes] : files) Write("in/" + name, bytes);
  Write("in/.hidden.png", Bytes("secret.png"));
  fs::create_symlink("../secret.png", Path("in/link.png"));
  fs::create_symlink("..", Path("in/up"));
  fs::create_symlink("/dev/zero", Path("in/zero.png"));
  mkfifo(Path("in/pipe.png").c_str(), 0600);
}

void Attacks::Import(const Attack& attack) {
  SCOPED_TRACE(attack.name);
  Lay(attack.files);
  const std::string model = Path("in/" + attack.files[0].first).string();
  if (attack.size > 0) fs::resize_file(model, attack.size);
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

void Attacks::Try(const Attack& attack) {
  Import(attack);
  SCOPED_TRACE(fmt::format("gl3, {}, turn {}", attack.name, m_turn % 3));
  std::set<std::string> expected = All();
  std::string line = "render in/" + attack.files[0].first + m_draw;
  Gl3Setup setup;
  if (m_turn % 3 == 1) line += " --confined";
  if (m_turn % 3 == 2) setup.environment = {"GL3_CONFINED=1"};
  ++m_turn;
  const Gl3Result result = Say(line, setup);
  EXPECT_TRUE(Holds(result.err, attack.parts));
  EXPECT_EQ(result.err.empty(), attack.parts.empty()) << result.err;
  if (attack.ends == Ends::kRefused) {
    EXPECT_EQ(result.status, 3) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  } else {
    EXPECT_EQ(result.status, 0) << result.err;
    expected.insert("work/out.png");
    const bool isPlain = Bytes("out.png") == m_plain;
    EXPECT_TRUE(isPlain || attack.ends == Ends::kDrawn) << "it shows what it must not";
  }
  EXPECT_EQ(All(), expected);
  fs::remove(Path("out.png"));
}

Gl3Result Attacks::Say(const Gl3Words& words, const Gl3Setup& setup) const {
  Gl3Result result = Run(words, setup);
  ExpectDecent(result.out + result.err);
  return result;
}

std::string Attacks::Bytes(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> Attacks::All() const {
  std::set<std::string> all;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_base)) {
    const std::string name = entry.path().lexically_relative(m_base).string();
    if (!name.starts_with("logs")) all.insert(name);
  }
  return all;
}

std::string Changed(std::string text, const Pairs& changes) {
  for (const auto& [from, to] : changes) {
    const std::size_t at = text.find(from);
    if (at == std::string::npos) throw std::runtime_error("there is no " + from);
    text.replace(at, from.size(), to);
  }
  return text;
}

Pairs ObjOf(const std::vector<std::string>& pictures, const std::string& a,
            const std::string& library) {
  std::string materials, model = "v 0 0 0\nv 1 0 0\nv 1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\n";
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    materials += fmt::format("newmtl m{}\nKd 0.2 0.9 0.4\nmap_Kd {}\n", i, pictures[i]);
    model += fmt::format("usemtl m{}\nf 1/1 2/2 3/3\n", i);
  }
  Pairs files = {{"m.obj", "mtllib " + library + "\n" + model}, {"m.mtl", materials}};
  if (!a.empty()) files.emplace_back("a.png", a);
  return files;
}

std::string Little(std::uint64_t value, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i, value >>= 8) bytes += static_cast<char>(value);
  return bytes;
}

std::string PngHeader(std::uint32_t width, std::uint32_t height) {
  const std::string size = Little(height, 4) + Little(width, 4);
  return std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) +
         std::string(size.rbegin(), size.rend()) +
         std::string("\x8\x2\0\0\0????\0\0\0\2IDAT\x78\x9c????", 23);
}
