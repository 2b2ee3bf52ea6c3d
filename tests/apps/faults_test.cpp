// Work that crashes, stalls or is ended: the parent tells it in one line, and no half-written file
// stays. The tests send the signals to the real child at the step that it reports.
#include <unistd.h>

#include <csignal>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"

namespace fs = std::filesystem;

namespace {

class Faults : public Gl3Test {
 protected:
  static constexpr const char* kImporting = "large.obj: importing it";

  Faults() { Write("large.obj", LargeObj(600)); }

  /// Ends the child with `signal` as soon as it reports `step`, and expects a line with `part`.
  void ExpectChildSignalled(const std::string& step, int signal, int status,
                            const std::string& part) const {
    SCOPED_TRACE(step);
    Gl3Process process(m_work, m_logs, "render large.obj -o out.png -s 3000x3000 -v");
    ASSERT_TRUE(process.WaitFor(step));
    ASSERT_GT(process.Child(), 0);
    kill(process.Child(), signal);
    const Gl3Result result = process.Finish();
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_EQ(LastLine(result.err).compare(0, 5, "gl3: "), 0);
    EXPECT_TRUE(Holds(LastLine(result.err), {part}));
    EXPECT_EQ(Names(), std::set<std::string>{"large.obj"});
  }
};

TEST_F(Faults, ACrashIsBlamedOnWhatWasDone) {
  // Sanitizers make an exit of their own of a segmentation fault, which is told in other words.
  ExpectChildSignalled(kImporting, SIGSEGV, 3, "large.obj: importing it");
  ExpectChildSignalled(kImporting, SIGABRT, 3, "large.obj: importing it crashed");
  ExpectChildSignalled("OpenGL: drawing", SIGABRT, 1, "crashed");
  ExpectChildSignalled("out.png: writing it", SIGKILL, 1,
                       "out.png: writing it was killed from outside");
}

TEST_F(Faults, TheImporterEndsWithWhomItWorksFor) {
  Gl3Process process(m_work, m_logs, "render large.obj -o out.png -v");
  ASSERT_TRUE(process.WaitFor(kImporting));
  const pid_t importer = process.Importer();
  kill(process.Child(), SIGKILL);
  process.Finish();
  // A process that nobody has waited for yet has no program any more.
  const std::string program = "/proc/" + std::to_string(importer) + "/exe";
  for (int i = 0; i < 1000 && fs::exists(program); ++i) usleep(1000);
  EXPECT_FALSE(fs::exists(program));
  EXPECT_EQ(Names(), std::set<std::string>{"large.obj"});
}

TEST_F(Faults, AStallEndsAtTheTimeLimit) {
  Gl3Process process(m_work, m_logs, "render large.obj -o out.png -v --timeout 3");
  ASSERT_TRUE(process.WaitFor(kImporting));
  kill(process.Child(), SIGSTOP);
  const Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(Holds(LastLine(result.err), {"large.obj", "--timeout"}));
  EXPECT_EQ(Names(), std::set<std::string>{"large.obj"});
}

TEST_F(Faults, MemoryBeyondTheLimitEndsTheRun) {
  Write("small.obj", kSquaresObj);
  ExpectRefused("render small.obj -o out.png -s 9000x9000 --max-memory 400M", 1,
                {"--max-memory", "400.0 MiB"});
}

}  // namespace
