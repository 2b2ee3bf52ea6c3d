// Runs the gl3 program from tests, in a folder of its own.
#include "tests/support/common/gl3_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <thread>

#include "tests/support/common/holds.h"

namespace fs = std::filesystem;

const char* const kSquaresObj =
    "v -2 0 -3\nv -1 0 -3\nv -1 1 -3\nv -2 1 -3\n"
    "v 1 0 3\nv 2 0 3\nv 2 1 3\nv 1 1 3\n"
    "f 1 2 3 4\nf 5 6 7 8\n";

const char* const kCamerasGltf = R"({"asset": {"version": "2.0"}, "scene": 0,
"scenes": [{"nodes": [0, 1, 2]}],
"nodes": [{"mesh": 0}, {"name": "Close", "camera": 0, "translation": [0, 0, 1.5]},
  {"name": "Away", "camera": 1, "translation": [0, 0, 9], "rotation": [0, 1, 0, 0]}],
"cameras": [
  {"name": "Close", "type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}},
  {"name": "Away", "type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
"meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
"accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
  "min": [-1, -1, 0], "max": [1, 1, 0]}],
"bufferViews": [{"buffer": 0, "byteLength": 36}],
"buffers": [{"byteLength": 36, "uri":
"data:application/octet-stream;base64,AACAvwAAgL8AAAAAAACAPwAAgL8AAAAAAAAAAAAAgD8AAAAA"}]})";

namespace {

std::string ReadAll(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void Nap() {
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

/// 0 when there is none.
pid_t FirstChild(pid_t process) {
  std::ifstream file(fmt::format("/proc/{0}/task/{0}/children", process));
  pid_t child = 0;
  file >> child;
  return child;
}

/// In the new process: makes the setup real, then becomes gl3.
[[noreturn]] void Become(const fs::path& folder, const fs::path& logs,
                         const std::vector<std::string>& arguments, const Gl3Setup& setup) {
  const std::string program = setup.program.empty() ? GL3_BIN_DIR "/gl3" : setup.program;
  // What a developer has set is not what is tested, but for GL3_DEVICE, which may choose where all
  // tests draw.
  for (const char* name : {"GL3_CONFINED", "GL3_MODULE_PATH", "GL3_PLATFORM", "GL3_SURFACE"}) {
    unsetenv(name);
  }
  setenv("GL3_REGISTRY", (logs / "registry.ini").c_str(), 1);
  if (!setup.preload.empty()) {
    setenv("LD_PRELOAD", setup.preload.c_str(), 1);
    setenv("ASAN_OPTIONS", "verify_asan_link_order=0:intercept_tls_get_addr=0", 1);
  }
  for (const std::string& entry : setup.environment) {
    const std::size_t equals = entry.find('=');
    setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
  }
  for (const auto& [name, descriptor] : {std::pair("out", 1), std::pair("err", 2)}) {
    const bool isTerminal = descriptor == 2 && !setup.terminal.empty();
    const fs::path file = isTerminal ? fs::path(setup.terminal) : logs / name;
    dup2(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY, 0600), descriptor);
    if (setup.closeStandardStreams) close(descriptor);
  }
  if (setup.closeStandardStreams) close(0);
  if (setup.fileSizeLimit > 0) {
    const rlimit limit = {setup.fileSizeLimit, setup.fileSizeLimit};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  std::vector<char*> argv = {const_cast<char*>("gl3")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  if (chdir(folder.c_str()) == 0) execv(program.c_str(), argv.data());
  std::_Exit(126);
}

}  // namespace

Gl3Words::Gl3Words(const std::string& line) {
  std::istringstream stream(line);
  for (std::string word; stream >> std::quoted(word, '\'');) push_back(word);
}

Gl3Process::Gl3Process(const fs::path& folder, const fs::path& logs, const Gl3Words& words,
                       const Gl3Setup& setup)
    : m_logs(logs) {
  fs::remove(logs / "out");
  fs::remove(logs / "err");
  m_process = fork();
  if (m_process == 0) Become(folder, logs, words, setup);
}

Gl3Process::~Gl3Process() {
  if (m_process <= 0) return;
  kill(m_process, SIGTERM);
  Finish();
}

bool Gl3Process::WaitFor(const std::string& text) {
  siginfo_t info = {};
  while (ReadAll(m_logs / "err").find(text) == std::string::npos) {
    waitid(P_PID, static_cast<id_t>(m_process), &info, WEXITED | WNOHANG | WNOWAIT);
    if (info.si_pid != 0) return false;
    Nap();
  }
  return true;
}

pid_t Gl3Process::Child() const {
  return FirstChild(m_process);
}

pid_t Gl3Process::Importer() const {
  return FirstChild(Child());
}

void Gl3Process::Signal(int number) {
  kill(m_process, number);
}

Gl3Result Gl3Process::Finish() {
  int status = 0;
  waitpid(m_process, &status, 0);
  m_process = -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadAll(m_logs / "out"),
          ReadAll(m_logs / "err")};
}

Gl3Test::Gl3Test() {
  std::string name = (fs::temp_directory_path() / "gl3-test-XXXXXX").string();
  m_base = mkdtemp(name.data());
  m_work = m_base / "work";
  m_logs = m_base / "logs";
  fs::create_directory(m_work);
  fs::create_directory(m_logs);
}

Gl3Test::~Gl3Test() {
  fs::remove_all(m_base);
}

void Gl3Test::Write(const std::string& name, const std::string& text) const {
  std::ofstream(Path(name), std::ios::binary) << text;
}

std::string Gl3Test::Read(const std::string& name) const {
  return ReadAll(Path(name));
}

std::set<std::string> Gl3Test::Names() const {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(m_work)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

Gl3Result Gl3Test::Run(const Gl3Words& words, const Gl3Setup& setup) const {
  return Gl3Process(m_work, m_logs, words, setup).Finish();
}

std::string Gl3Test::Done(const Gl3Words& words, const Gl3Setup& setup) const {
  const Gl3Result result = Run(words, setup);
  EXPECT_EQ(result.status, 0) << fmt::format("gl3 {}", fmt::join(words, " "));
  EXPECT_EQ(result.err, "") << fmt::format("gl3 {}", fmt::join(words, " "));
  return result.out;
}

void Gl3Test::ExpectRefused(const Gl3Words& words, int status,
                            const std::vector<std::string>& parts, const Gl3Setup& setup) const {
  SCOPED_TRACE(fmt::format("gl3 {}", fmt::join(words, " ")));
  const std::set<std::string> before = Names();
  const Gl3Result result = Run(words, setup);
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.compare(0, 5, "gl3: "), 0) << result.err;
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  EXPECT_TRUE(Holds(result.err, parts));
  EXPECT_EQ(Names(), before);
}

std::string CopyOfTheProgram(const fs::path& folder) {
  fs::create_directories(folder / "bin");
  fs::create_directories(folder / "lib/gl3");
  fs::copy_file(GL3_BIN_DIR "/gl3", folder / "bin/gl3");
  for (const fs::directory_entry& entry : fs::directory_iterator(GL3_LIB_DIR)) {
    const fs::path name = entry.path().filename();
    if (name != "OpenGL3.so") fs::create_symlink(entry.path(), folder / "lib/gl3" / name);
  }
  return (folder / "bin/gl3").string();
}

std::string LastLine(const std::string& text) {
  const std::string lines = text.substr(0, text.find_last_not_of('\n') + 1);
  return lines.substr(lines.rfind('\n') + 1);
}

std::string LargeObj(int side) {
  std::string text;
  for (int y = 0; y <= side; ++y) {
    for (int x = 0; x <= side; ++x) text += fmt::format("v {} {} {}\n", x, y, (x * y) % 7);
  }
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const int corner = y * (side + 1) + x + 1;
      text +=
          fmt::format("f {} {} {} {}\n", corner, corner + 1, corner + side + 2, corner + side + 1);
    }
  }
  return text;
}
