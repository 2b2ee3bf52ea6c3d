// gl3 killed at random moments while it writes a picture: what bears the picture's name is the file
// from before or the whole new one.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ostream>
#include <random>

#include "tests/support/common/gl3_process.h"

namespace {

constexpr int kKills = 12;
constexpr useconds_t kLongestDelay = 20000;
const char* const kOld = "the picture from before";

struct Writer {
  const char* output;
  bool wholeGroup;  ///< The parent is killed, and its child with it; else the child alone.
  bool namedFilesOnly;
};

void PrintTo(const Writer& writer, std::ostream* out) {
  *out << writer.output << (writer.wholeGroup ? ", group" : ", child")
       << (writer.namedFilesOnly ? ", named files" : "");
}

class KilledWriter : public Gl3Test, public testing::WithParamInterface<Writer> {
 protected:
  KilledWriter() {
    Write("model.obj", kSquaresObj);
    // Orphans come to this process, which waits for their end.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    if (GetParam().namedFilesOnly) m_setup.preload = GL3_PRELOAD;
  }
  ~KilledWriter() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

  std::string Output() const { return GetParam().output; }
  std::vector<std::string> Arguments() const {
    return {"render", "model.obj", "-o", Output(), "-s", "1200x900", "-v"};
  }
  /// Only who is killed as a whole, on a file system that knows named files alone, leaves any.
  static bool MayLeaveUnfinished() { return GetParam().namedFilesOnly && GetParam().wholeGroup; }
  std::string Content() const { return Read(Output()); }
  /// Runs gl3 and kills it `microseconds` after it began to write.
  void KillWhileWriting(useconds_t microseconds) {
    Gl3Process process(m_work, m_logs, Arguments(), m_setup);
    ASSERT_TRUE(process.WaitFor("writing"));
    const pid_t child = process.Child();
    usleep(microseconds);
    if (!GetParam().wholeGroup) {
      if (child > 0) kill(child, SIGKILL);
      process.Finish();
      return;
    }
    process.Signal(SIGKILL);
    process.Finish();
    if (child > 0) waitpid(child, nullptr, 0);
  }

  Gl3Setup m_setup;
};

TEST_P(KilledWriter, LeavesTheOldOrTheNewPicture) {
  ASSERT_EQ(Run(Arguments(), m_setup).status, 0);
  const std::string whole = Content();
  ASSERT_GT(whole.size(), 1000u);

  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::minstd_rand random(seed);
  for (int i = 0; i < kKills && !HasFailure(); ++i) {
    Write(Output(), kOld);
    KillWhileWriting(std::uniform_int_distribution<useconds_t>(0, kLongestDelay)(random));
    const std::string content = Content();
    EXPECT_TRUE(content == kOld || content == whole) << content.size() << " bytes";
    for (const std::string& name : Names()) {
      const bool unfinished = name.compare(0, 5, ".gl3-") == 0;
      EXPECT_TRUE(name == "model.obj" || name == Output() || (unfinished && MayLeaveUnfinished()))
          << name;
    }
  }
  EXPECT_EQ(Run(Arguments(), m_setup).status, 0);
  EXPECT_EQ(Content(), whole);
}

INSTANTIATE_TEST_SUITE_P(All, KilledWriter,
                         testing::Values(Writer{"out.png", false, false},
                                         Writer{"out.png", true, false},
                                         Writer{"out.png", false, true},
                                         Writer{"out.png", true, true},
                                         Writer{"out.exr", true, false}));

}  // namespace
