// Work that crashes, stalls or is ended: the parent tells it in one line, and no half-written file
// stays. The tests send the signals to the real child at the step that it reports.
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

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

TEST_F(Faults, WhatEndsTheImporterIsTold) {
  const struct {
    int signal, status;
    const char* part;
  } kEnds[] = {{SIGABRT, 3, "large.obj: importing it crashed (Aborted); the file is damaged"},
               {SIGKILL, 1, "large.obj: importing it was killed from outside"}};
  for (const auto& each : kEnds) {
    Gl3Process process(m_work, m_logs, "render large.obj -o out.png -v");
    ASSERT_TRUE(process.WaitFor(kImporting));
    ASSERT_GT(process.Importer(), 0);
    kill(process.Importer(), each.signal);
    const Gl3Result result = process.Finish();
    EXPECT_EQ(result.status, each.status) << result.err;
    EXPECT_TRUE(Holds(LastLine(result.err), {each.part, "; "}));
  }
  Gl3Process process(m_work, m_logs, "render large.obj -o out.png -v");
  ASSERT_TRUE(process.WaitFor(kImporting));
  const pid_t importer = process.Importer();
  kill(process.Child(), SIGKILL);
  process.Finish();
  // A process that nobody has waited for yet has no program any more.
  const std::string program = "/proc/" + std::to_string(importer) + "/exe";
  for (int i = 0; i < 1000 && fs::exists(program); ++i) usleep(1000);
  EXPECT_FALSE(fs::exists(program)) << "it ends with whom it works for";
  EXPECT_EQ(Names(), std::set<std::string>{"large.obj"});
}

TEST_F(Faults, AStallEndsAtTheTimeLimit) {
  Gl3Process process(m_work, m_logs, "render large.obj -o out.png -v --timeout 3");
  ASSERT_TRUE(process.WaitFor(kImporting));
  kill(process.Child(), SIGSTOP);
  const Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 3);
  EXPECT_TRUE(Holds(LastLine(result.err), {"large.obj", "--timeout"}));
  EXPECT_EQ(Names(), std::set<std::string>{"large.obj"});
}

TEST_F(Faults, MemoryBeyondTheLimitEndsTheRun) {
  Write("small.obj", kSquaresObj);
  ExpectRefused("render small.obj -o out.png -s 9000x9000 --max-memory 400M", 1,
                {"--max-memory", "400.0 MiB"});
}

TEST_F(Faults, EndingTheProgramLeavesWholeFilesOnly) {
  Write("small.obj", kSquaresObj);
  for (int i = 0; i < 16; ++i) {
    SCOPED_TRACE(i);
    const int signal = i % 2 ? SIGTERM : SIGINT;
    Gl3Process process(m_work, m_logs, "render small.obj -o out.png -s 2000x2000 -v");
    // From before the start to after the end of writing.
    const char* const steps[] = {"starting", "importing", "drawing", "writing"};
    ASSERT_TRUE(process.WaitFor(steps[i % 4]));
    usleep(static_cast<useconds_t>(i) * 3000);
    process.Signal(signal);
    const Gl3Result result = process.Finish();
    EXPECT_TRUE(result.status == 0 || result.status == 128 + signal) << result.status;
    std::set<std::string> names = Names();
    names.erase("out.png");
    EXPECT_EQ(names, (std::set<std::string>{"large.obj", "small.obj"}));
    if (!fs::exists(Path("out.png"))) continue;
    std::ifstream file(Path("out.png"), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    EXPECT_EQ(bytes.compare(bytes.size() - 8, 4, "IEND"), 0);
    fs::remove(Path("out.png"));
  }
}

}  // namespace
