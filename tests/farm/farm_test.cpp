// `gl3 farm` through the program: on this machine, and with a scheduler that runs everything at
// once.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "hostkit/confine/sanitized.h"
#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;

/// A scheduler as far as the farm sees it: has $TASK run every task when it is submitted, with the
/// script, its job's number from 1, and one node a task.
constexpr const char* kScheduler = R"(#!/bin/sh
for word; do script=$word; done
count=$(sed -n 's/^#SBATCH --array=1-\([0-9]*\).*/\1/p' "$script")
echo "$*" >>"$SCHEDULER/submitted"
id=$(wc -l <"$SCHEDULER/submitted")
echo "47$id;cluster"
cd /
for task in $(seq "${count:-1}"); do
  export script id task SLURM_ARRAY_JOB_ID=47$id SLURM_ARRAY_TASK_ID=$task SLURMD_NODENAME=n$task
  sh -c "$TASK" >/dev/null 2>&1
done
exit 0
)";
/// The first array's task number 2 is lost.
constexpr const char* kLosesOne = "[ $id$task = 12 ] || sh \"$script\"";

class Farm : public Gl3Test {
 protected:
  Farm() {
    Write("squares.obj", kSquaresObj);
    fs::create_directory(Path("out"));
  }

  static std::string Turn(const std::string& output, int frames) {
    return "render squares.obj -o " + output + " -s 96x64 --antialias 1 --turntable " +
           std::to_string(frames);
  }
  Json Report(const std::string& folder) const {
    return Json::parse(Read(folder + "/report.json"), nullptr, false);
  }
  void Lose(const std::string& picture) const { fs::remove(Path(picture)); }
  /// A program of the scheduler in front of all others.
  void Install(const std::string& name, const std::string& text) const {
    fs::create_directories(m_base / "bin");
    std::ofstream(m_base / "bin" / name) << text;
    fs::permissions(m_base / "bin" / name, fs::perms(0755));
  }
  /// `task` is a shell's command for each task. What is asked of scontrol and scancel is kept.
  Gl3Setup WithScheduler(const std::string& task = kLosesOne) const {
    Install("sbatch", kScheduler);
    Install("squeue", "#!/bin/sh\n");
    Install("scontrol",
            "#!/bin/sh\necho \"$*\" >>\"$SCHEDULER/asked\"\n"
            "echo 'MaxArraySize            = 1001'\n");
    Install("scancel", "#!/bin/sh\necho \"scancel $*\" >>\"$SCHEDULER/asked\"\n");
    Gl3Setup setup;
    setup.environment = {"PATH=" + (m_base / "bin").string() + ":/usr/bin:/bin",
                         "SCHEDULER=" + m_base.string(), "XDG_STATE_HOME=" + m_base.string(),
                         "TASK=" + task};
    return setup;
  }
  /// Lines of a file of the scheduler's.
  std::vector<std::string> Lines(const std::string& name) const {
    std::ifstream file(m_base / name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }
};

TEST_F(Farm, DrawsOnThisMachineWhatOneRunDraws) {
  Done(Turn("out/t##.png", 9));
  std::vector<std::string> alone;
  for (int i = 1; i <= 9; ++i) alone.push_back(Read("out/t0" + std::to_string(i) + ".png"));
  fs::remove_all(Path("out"));
  fs::create_directory(Path("out"));
  const Json report =
      Json::parse(Done("farm --local --tasks 2 --json --folder job -- " + Turn("out/t##.png", 9)));
  for (int i = 1; i <= 9; ++i) {
    EXPECT_EQ(Read("out/t0" + std::to_string(i) + ".png"), alone[static_cast<size_t>(i) - 1]) << i;
  }
  EXPECT_EQ(report, Report("job"));
  EXPECT_EQ(report["status"], 0);
  EXPECT_EQ(report["pictures"], 9);
  EXPECT_EQ(report["whole"], 9);
  ASSERT_EQ(report["tasks"].size(), 2u);
  EXPECT_EQ(report["tasks"][0]["drawn"], 5);
  EXPECT_EQ(report["tasks"][1]["drawn"], 4);
  EXPECT_GT(report["startShare"], 0);
  ASSERT_EQ(report["nodes"].size(), 1u);
  EXPECT_EQ(report["nodes"][0]["check"]["failed"], 0);
  EXPECT_EQ(report["nodes"][0]["renderer"], report["renderer"]);
  EXPECT_GT(fs::file_size(Path("job/contact.jpg")), 1000u);
}

TEST_F(Farm, GoesOnAndNamesWhatIsNotAlike) {
  const std::string command = "farm --local --tasks 2 --folder ";
  Done(command + "a -- " + Turn("out/t%d.png", 4));
  // Made by a share of the same run, of another recipe, and cut off in the middle.
  Lose("out/t1.png");
  Done(Turn("out/t%d.png", 4) + " --skip-existing --chunk 1/2");
  Done(Turn("out/t%d.png", 4) + " --frames 3 --background white");
  const std::string whole = Read("out/t2.png");
  Write("out/t2.png", whole.substr(0, whole.size() / 2));
  Lose("out/t4.png");
  Gl3Result result = Run(command + "b -- " + Turn("out/t%d.png", 4));
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(Holds(result.err, {"3 of 4 pictures are there", "out/t2.png", "broken"}));
  const Json report = Report("b");
  EXPECT_EQ(report["whole"], 2);
  EXPECT_EQ(report["missing"], Json::array());
  ASSERT_EQ(report["differing"].size(), 1u);
  EXPECT_EQ(report["differing"][0]["file"], "out/t3.png");
  EXPECT_TRUE(Holds(report["differing"][0]["why"], {"command", "--background white"}));
  Write("out/t2.png", whole);
  result = Run(command + "c -- " + Turn("out/t%d.png", 4));
  EXPECT_EQ(result.status, 6);
  EXPECT_TRUE(Holds(LastLine(result.err), {"out/t3.png", "not made alike"}));
}

TEST_F(Farm, ChecksPicturesWhereTheyReachNothing) {
  if (kIsSanitized) GTEST_SKIP() << "nothing is confined";
  const std::string turn = Turn("out/t%d.webp", 2);
  Done(turn);
  Gl3Setup setup = {.preload = GL3_PICTURE_FAULTS};
  for (const auto& [fault, part] :
       {std::pair("read", "the picture is broken"), {"socket", "Bad system call"}}) {
    setup.environment = {std::string("GL3_PICTURE_FAULT=") + fault};
    const std::string folder = std::string("job-") + fault;
    const Gl3Result result =
        Run("farm --local --tasks 1 --folder " + folder + " -- " + turn, setup);
    EXPECT_EQ(result.status, 1) << result.err;
    const Json broken = Report(folder)["broken"];
    ASSERT_EQ(broken.size(), 2u) << result.err;
    EXPECT_NE(broken[0].dump().find(part), std::string::npos) << broken;
  }
}

TEST_F(Farm, SharesPicturesBySizeAndSequencesOfCameras) {
  Write("cameras.gltf", kCamerasGltf);
  for (const int side : {3, 60, 9}) {
    Done({"render", "squares.obj", "-o", "in" + std::to_string(side) + ".png", "-s",
          std::to_string(side * 9) + "x" + std::to_string(side * 7), "-q"});
  }
  Done(
      "farm --local --tasks 2 --folder f -- filter in3.png in60.png in9.png -o out/ --effect blur");
  const Json tasks = Json::parse(Read("f/round-1.json"))["tasks"];
  EXPECT_EQ(tasks, (Json{{1}, {2, 0}}));
  EXPECT_EQ(ReadPng(Path("out/in60.png")).width, 540);
  fs::create_directory(Path("Close"));
  fs::create_directory(Path("Away"));
  Run("farm --local --tasks 2 --folder g -- render cameras.gltf -o {camera}/##.png --camera all "
      "--turntable 3 -s 64x48 -q");
  EXPECT_EQ(Report("g")["pictures"], 3);
  EXPECT_EQ(Report("g")["whole"], 3);
  for (const char* name : {"Close/01.png", "Close/03.png", "Away/02.png"}) {
    EXPECT_EQ(ReadPng(Path(name)).width, 64) << name;
  }
}

TEST_F(Farm, SharesModelsBySize) {
  const std::string more(2000, '\n');
  Write("large.obj", kSquaresObj + more + more + more + more);
  Write("middle.obj", kSquaresObj + more);
  const std::string command = "render squares.obj large.obj middle.obj -o out/%n.png -s 64x48";
  Done(command);
  std::map<std::string, std::string> alone;
  for (const char* name : {"squares", "large", "middle"}) {
    const std::string file = std::string("out/") + name + ".png";
    alone[file] = Read(file);
    Lose(file);
  }
  Done("farm --local --tasks 2 --folder job -- " + command);
  EXPECT_EQ(Json::parse(Read("job/round-1.json"))["tasks"], (Json{{1}, {2, 0}}));
  for (const auto& [file, bytes] : alone) EXPECT_EQ(Read(file), bytes) << file;
}

TEST_F(Farm, MakesTheMovieOfItsFrames) {
  // A movie of bare pixels: what is piped to the program.
  Install("ffmpeg", "#!/bin/sh\nexec cat >&3\n");
  const Gl3Setup setup = WithScheduler();
  Done(Turn("alone.mp4", 5), setup);
  Done("farm --local --tasks 2 --folder job -- " + Turn("out/turn.mp4", 5), setup);
  EXPECT_EQ(Read("out/turn.mp4").size(), 5u * 96 * 64 * 3);
  EXPECT_EQ(Read("out/turn.mp4"), Read("alone.mp4"));
  const Gl3Result result =
      Run("farm --local --folder none -- " + Turn("out/none.mp4", 5), {.environment = {"PATH=."}});
  EXPECT_EQ(result.status, 4);
  EXPECT_TRUE(Holds(result.err, {"out/none.mp4", "install ffmpeg"}));
  EXPECT_FALSE(fs::exists(Path("none")));
}

TEST_F(Farm, SubmitsAnArrayAndOnceMoreWhatIsLost) {
  const fs::path odd = Path("it's $HOME; a `place`");
  fs::create_directory(odd);
  const Gl3Words words = {"farm",
                          "--tasks",
                          "3",
                          "--measured",
                          "0.1,20",
                          "--sbatch=--partition=p",
                          "--",
                          "render",
                          "squares.obj",
                          "-o",
                          odd.string() + "/t##.png",
                          "-s",
                          "96x64",
                          "--turntable",
                          "6"};
  const Gl3Result result = Run(words, WithScheduler());
  EXPECT_TRUE(Holds(result.err, {"gl3: 3 tasks; ", ": " + odd.string() + "/gl3-farm-"}));
  EXPECT_EQ(result.out, "471\n");
  EXPECT_EQ(Run("farm wait 471", WithScheduler()).status, 0);
  const std::vector<std::string> lines = Lines("submitted");
  ASSERT_EQ(lines.size(), 4u) << "an array and a check, twice";
  EXPECT_TRUE(Holds(lines[0], {"--parsable --partition=p ", "round-1.sh"}));
  EXPECT_TRUE(Holds(lines[1], {"--dependency=afterany:471", "check-1.sh"}));
  EXPECT_TRUE(Holds(lines[2], {"round-2.sh"}));
  for (int i = 1; i <= 6; ++i) {
    EXPECT_EQ(ReadPng(odd / ("t0" + std::to_string(i) + ".png")).width, 96);
  }
}

/// A model that cannot be read is not tried again, though another task is.
TEST_F(Farm, RepeatsWhatMayHelpAlone) {
  Write("broken.obj", "f 1 2 3\n");
  Write("other.obj", kSquaresObj);
  Run("farm --tasks 2 --measured 0.1,20 --folder job -- render broken.obj squares.obj other.obj "
      "-o out/%n.png -s 64x48",
      WithScheduler());
  EXPECT_EQ(Lines("submitted").size(), 4u);
  EXPECT_EQ(Json::parse(Read("job/round-2.json"))["tasks"].size(), 1u);
  const Json report = Report("job");
  EXPECT_EQ(report["whole"], 2);
  ASSERT_EQ(report["missing"].size(), 1u);
  EXPECT_EQ(report["missing"][0]["file"], "out/broken.png");
}

/// Nodes after the first one draw with another renderer.
TEST_F(Farm, LeavesOutNodesOfAnotherRenderer) {
  const Gl3Setup setup =
      WithScheduler("[ $task = 1 ] || export GALLIUM_DRIVER=softpipe; sh \"$script\"");
  const std::string command = "farm --tasks 2 --measured 0.1,20 --folder ";
  Run(command + "job -- " + Turn("out/t%d.png", 4), setup);
  const std::vector<std::string> asked = Lines("asked");
  EXPECT_EQ(std::count(asked.begin(), asked.end(), "update JobId=471 ExcNodeList=n2"), 1);
  EXPECT_TRUE(Holds(Lines("submitted").at(2), {"--exclude=n2", "round-2.sh"}));
  const Json report = Report("job");
  EXPECT_EQ(report["status"], 0);
  EXPECT_EQ(report["whole"], 4);
  EXPECT_TRUE(Holds(report["nodes"][1]["problem"], {"n2", "softpipe", "--exclude=n2"}));
  for (int i = 1; i <= 4; ++i) Lose("out/t" + std::to_string(i) + ".png");
  Run(command + "both --allow-mixed -- " + Turn("out/t%d.png", 4), setup);
  EXPECT_EQ(Report("both")["status"], 0);
  EXPECT_EQ(Report("both")["rounds"], 1);
  EXPECT_EQ(Report("both")["whole"], 4);
}

TEST_F(Farm, EndsWhatIsCancelled) {
  const Gl3Setup setup = WithScheduler("true");  // nothing runs
  Run("farm --measured 0.1,20 --folder job -- " + Turn("out/t%d.png", 4), setup);
  EXPECT_TRUE(Holds(Done("farm cancel 471", setup), {"0 of 4 pictures are there"}));
  const std::vector<std::string> asked = Lines("asked");
  ASSERT_GE(asked.size(), 2u);
  EXPECT_EQ(asked[asked.size() - 2], "scancel 472") << "the check, which would submit more";
  EXPECT_EQ(asked.back(), "scancel 471");
  // What the scheduler began all the same.
  for (const char* part : {"task", "check"}) Run("farm " + std::string(part) + " job 1 1", setup);
  EXPECT_TRUE(fs::is_empty(Path("out")));
  EXPECT_EQ(Lines("submitted").size(), 2u);
  ExpectRefused("farm wait 471", 1, {"was cancelled", "0 of 4", "goes on"}, setup);
}

TEST_F(Farm, ShowsWhatItWouldSubmit) {
  const std::string out = Done("farm --dry-run --tasks 4 --measured 1,2 --time 7 --memory 2G -- " +
                               Turn("out/t###.png", 240));
  EXPECT_TRUE(Holds(out, {"#SBATCH --array=1-16%4\n", "#SBATCH --requeue\n", "#SBATCH --time=7\n",
                          "#SBATCH --mem=2048M\n", "farm task ", "--dependency=afterany:ID"}));
  EXPECT_EQ(Names(), (std::set<std::string>{"out", "squares.obj"}));
  EXPECT_TRUE(fs::is_empty(Path("out")));
}

TEST_F(Farm, RefusesWhatCannotBeShared) {
  const struct {
    std::string words;
    int status;
    std::vector<std::string> parts;
  } kCases[] = {
      {"farm -- info", 2, {"info", "cannot be shared"}},
      {"farm wait", 2, {"wait", "the ID of one farm"}},
      {"farm --local render squares.obj -o a.png", 2, {"-- is missing", "-- render ..."}},
      {"farm wait 99", 3, {"99", "no farm of this user"}},
      {"farm --measured 1,0 -- render", 2, {"1,0", "START,FRAME"}},
      {"farm --sbatch=night -- render", 2, {"night", "--sbatch=--partition=night"}},
      {"farm --local -- render squares.obj", 2, {"--output"}},
      {"farm --local -- " + Turn("out/t%d.png", 4) + " --chunk 1/2", 2, {"--chunk"}},
      {"farm --local -- " + Turn("no/t%d.png", 4), 5, {"no/t"}},
      {"farm --local -- render squares.obj -o -", 2, {"standard input and output"}},
      {"farm --local -- " + Turn("out/t%d.png", 4) + " --grid 2", 2, {"2 models", "--grid=2"}},
      {"farm --local -- render none.obj -o out/a.png", 3, {"none.obj", "no such file"}},
      {"farm --measured 1,1 -- render squares.obj -o 'out/a\x01.png'", 2, {"control characters"}},
  };
  for (const auto& [words, status, parts] : kCases) {
    ExpectRefused(words, status, parts, WithScheduler());
  }
  EXPECT_TRUE(fs::is_empty(Path("out")));
  fs::create_directory(Path("odd"));
  Write("odd/plan.json", "{}");
  ExpectRefused("farm cancel odd", 3, {"odd/plan.json", "no plan of a farm"}, WithScheduler());
  Write("odd/report.json", R"({"status": "none"})");
  ExpectRefused("farm status odd", 3, {"odd", "damaged"}, WithScheduler());
}

/// From the keyboard, say; its state is asked for before and after that.
TEST_F(Farm, TellsHowToGoOnOnceItIsInterrupted) {
  Gl3Process farm(m_work, m_logs,
                  "farm --local --tasks 1 --folder job -- " + Turn("out/t###.png", 400));
  while (!fs::exists(Path("out/t001.png")))
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  fs::create_directory(m_base / "asked");
  const auto ask = [&](const char* words) {
    return Gl3Process(m_work, m_base / "asked", words).Finish();
  };
  EXPECT_EQ(ask("farm status job").out.find("has ended"), std::string::npos);
  EXPECT_TRUE(Holds(ask("farm wait job").err, {"on its own machine"}));
  farm.Signal(SIGINT);
  const Gl3Result result = farm.Finish();
  EXPECT_EQ(result.status, 128 + SIGINT);
  EXPECT_TRUE(Holds(result.err, {" of 400 pictures are there", "goes on, with another --folder"}));
  EXPECT_TRUE(Holds(ask("farm status job").out, {" of 400 pictures", "has ended", "goes on"}));
  EXPECT_TRUE(Holds(ask("farm status job --json").out, {"\"lost\": true"}));
  ExpectRefused("farm wait job", 1, {" of 400 pictures", "has ended", "goes on"});
}

TEST_F(Farm, PutsNoMoreTasksOnANodeThanTheSmallestHasProcessors) {
  const Gl3Setup setup = WithScheduler();
  Install("sinfo", "#!/bin/sh\necho \"sinfo $*\" >>\"$SCHEDULER/asked\"\nprintf '8\\n1\\n4\\n'\n");
  ExpectRefused(
      "farm --per-node 2 --sbatch=--partition=night --measured 1,1 -- " + Turn("out/t%d.png", 4), 2,
      {"2 tasks on a node of 1 processors", "give 1"}, setup);
  EXPECT_TRUE(Holds(Lines("asked").back(), {"sinfo", "--partition=night"}));
}

TEST_F(Farm, WithoutASchedulerSaysSoAndLeavesNothing) {
  Gl3Setup setup = WithScheduler();
  setup.environment[0] = "PATH=" + m_base.string();
  ExpectRefused("farm --measured 1,1 -- " + Turn("out/t%d.png", 4), 1,
                {"sbatch", "slurm-client", "--local"}, setup);
  setup = WithScheduler();
  Install("sbatch", "#!/bin/sh\necho 'sbatch: error: no controller' >&2; exit 1\n");
  ExpectRefused("farm --measured 1,1 -- " + Turn("out/t%d.png", 4), 1,
                {"no controller", "--local draws on this machine"}, setup);
  EXPECT_TRUE(fs::is_empty(Path("out")));
}

}  // namespace
