// What gl3 shows on a terminal while it works: progress on one line, whatever the files are called.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "tests/support/common/gl3_process.h"

namespace {

constexpr int kColumns = 40;

/// A terminal, seen from its other end.
class Terminal {
 public:
  Terminal() : m_end(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    const winsize size = {24, kColumns, 0, 0};
    if (grantpt(m_end) == 0 && unlockpt(m_end) == 0) m_name = ptsname(m_end);
    m_keepOpen = open(m_name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ioctl(m_end, TIOCSWINSZ, &size);
  }
  ~Terminal() {
    close(m_keepOpen);
    close(m_end);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  const std::string& Name() const { return m_name; }
  /// What has come so far.
  const std::string& Text() {
    char block[4096];
    for (ssize_t count; (count = read(m_end, block, sizeof block)) > 0;) {
      m_text.append(block, static_cast<std::size_t>(count));
    }
    return m_text;
  }
  bool WaitFor(const std::string& text) {
    for (int i = 0; i < 10000 && Text().find(text) == std::string::npos; ++i) usleep(1000);
    return m_text.find(text) != std::string::npos;
  }

 private:
  int m_end, m_keepOpen = -1;
  std::string m_name, m_text;
};

using Terminals = Gl3Test;

TEST_F(Terminals, ShowProgressInOneLineOfPlainText) {
  const std::string name = "a\033[2Jb\n" + std::string(60, 'c') + ".obj";
  Write(name, LargeObj(300));
  for (const bool isQuiet : {false, true}) {
    Terminal terminal;
    const Gl3Setup setup = {.environment = {"TERM=xterm", "NO_COLOR=1"},
                            .terminal = terminal.Name()};
    Gl3Process process(
        m_work, m_logs,
        {"render", name, "missing.obj", "--merge", "-o", "x.png", isQuiet ? "-q" : "-v"}, setup);
    process.Finish();
    EXPECT_EQ(terminal.Text(), "gl3: missing.obj: there is no such file; check the path\r\n");

    Gl3Process working(m_work, m_logs,
                       {"render", name, "-o", "x.png", "-s", "32x32", isQuiet ? "-q" : "-v"},
                       setup);
    for (int i = 0; i < 10000 && working.Child() == 0; ++i) usleep(1000);
    ASSERT_TRUE(isQuiet || terminal.WaitFor(": importing it\r\n"));
    const pid_t child = working.Child();
    ASSERT_GT(child, 0);
    kill(child, SIGSTOP);
    usleep(1300000);  // progress is shown after a second
    kill(child, SIGCONT);
    EXPECT_EQ(working.Finish().status, 0);
    std::string text = terminal.Text();
    const std::string clear = "\r\033[K";
    const std::size_t shown = text.find(clear + "a [2Jb c");
    EXPECT_EQ(shown == std::string::npos, isQuiet) << text;
    for (std::size_t at; (at = text.find(clear)) != std::string::npos;) {
      text.erase(at, clear.size());
      const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
      const bool isMessage = text.compare(at, 5, "gl3: ") == 0;
      EXPECT_TRUE(isMessage || end - at < kColumns) << text.substr(at);
    }
    EXPECT_EQ(text.find('\033'), std::string::npos) << text;
  }
}

}  // namespace
