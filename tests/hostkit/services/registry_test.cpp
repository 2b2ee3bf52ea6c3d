// The registry and its file: values, broken files, other writers, sudden death.
#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <functional>
#include <random>
#include <thread>

#include "host/Services.h"
#include "host/String.h"
#include "hostkit/services/module_settings.h"
#include "hostkit/services/registry.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/temp_folder.h"

namespace {
std::function<void()> g_beforeLocking;
long Lock(int file, int operation) {
  return syscall(SYS_flock, file, operation);
}
}  // namespace

/// In front of the C library's.
extern "C" int flock(int file, int operation) noexcept {
  if (g_beforeLocking) g_beforeLocking();
  return static_cast<int>(Lock(file, operation));
}

namespace {

namespace fs = std::filesystem;

constexpr int kMissing = -77;

int Get(const char* key) {
  return GetRegistryValue("OpenGL3", key, kMissing);
}
void Set(const char* key, int value) {
  SetRegistryValue("OpenGL3", key, value);
}

class Registry : public testing::Test {
 protected:
  void SetUp() override {
    setenv("GL3_REGISTRY", m_folder.Path("registry.ini").c_str(), 1);
    hostkit::ReloadRegistry();
    testing::internal::CaptureStderr();
  }
  void TearDown() override {
    testing::internal::GetCapturedStderr();
    unsetenv("GL3_REGISTRY");
    hostkit::ReloadRegistry();
  }
  /// How often `text` was told to the user since the last question.
  static int Told(const std::string& text) {
    const std::string output = testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    int count = 0;
    for (std::size_t at = 0; (at = output.find(text, at)) != std::string::npos; ++at) ++count;
    return count;
  }

  TempFolder m_folder;
};

TEST_F(Registry, KeepsValuesAcrossReloads) {
  EXPECT_EQ(Get("Max Transparent Triangles"), kMissing);
  EXPECT_EQ(m_folder.Count(), 0);
  Set("Max Transparent Triangles", 149999);
  Set("Antialias", INT_MIN);
  SetRegistryValue("General", "Antialias", 3);
  hostkit::ReloadRegistry();
  EXPECT_EQ(Get("Max Transparent Triangles"), 149999);
  EXPECT_EQ(Get("antialias"), INT_MIN);
  EXPECT_EQ(GetRegistryValue("General", "Antialias", 0), 3);
  hostkit::OverrideRegistryValue("OpenGL3", "Antialias", 8);
  Set("Antialias", 9);
  EXPECT_EQ(Get("Antialias"), 8);
  hostkit::ReloadRegistry();
  EXPECT_EQ(Get("Antialias"), 9);
  EXPECT_EQ(hostkit::RegistryError(), "");
}

TEST_F(Registry, StoresNoOverrideThatIsWrittenBack) {
  for (const char* stored : {"", "[OpenGL3]\nAntialias = 9\n"}) {
    m_folder.Write("registry.ini", stored);
    hostkit::ReloadRegistry();
    hostkit::OverrideRegistryValue("OpenGL3", "Antialias", 8);
    Set("antialias", 8);
    EXPECT_EQ(m_folder.Read("registry.ini"), stored);
    // Whoever has chosen another value may choose that one afterwards.
    for (const int value : {7, 8}) {
      Set("Antialias", value);
      EXPECT_TRUE(Holds(m_folder.Read("registry.ini"), {fmt::format("Antialias = {}", value)}));
    }
    hostkit::OverrideRegistryValue("OpenGL3", "Antialias", 5);
    const hostkit::ModuleSetting* setting = hostkit::FindModuleSetting("Antialias");
    EXPECT_TRUE(hostkit::StoreModuleSetting(*setting, 5)) << "by name, it is meant";
  }
}

TEST_F(Registry, KeepsCommentsPermissionsAndLinks) {
  m_folder.Write("real.ini", "; mine\n\n[Other]\nkey = text\n# why\nAntialias = 1\n\n;Later = 2\n");
  fs::permissions(m_folder.Path("real.ini"), fs::perms(0640));
  fs::create_symlink("real.ini", m_folder.Path("registry.ini"));
  for (int i = 0; i < 3; ++i) Set("Polygonmode", i);
  const std::string text = m_folder.Read("real.ini");
  for (const char* part : {"; mine\n", "key = text\n", "# why\nAntialias = 1\n", ";Later = 2\n",
                           "[OpenGL3]\nPolygonmode = 2\n"}) {
    const std::size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part << "in\n" << text;
    EXPECT_EQ(text.find(part, at + 1), std::string::npos) << part << "in\n" << text;
  }
  EXPECT_TRUE(fs::is_symlink(m_folder.Path("registry.ini")));
  EXPECT_EQ(fs::status(m_folder.Path("real.ini")).permissions(), fs::perms(0640));

  m_folder.Write("comments.ini", "# nothing yet\n# Antialias = 1\n");
  setenv("GL3_REGISTRY", m_folder.Path("comments.ini").c_str(), 1);
  hostkit::ReloadRegistry();
  Set("Antialias", 0);
  EXPECT_EQ(m_folder.Read("comments.ini").find("# nothing yet\n# Antialias = 1\n"), 0u);
}

TEST_F(Registry, RemovesASettingAndNothingElse) {
  const hostkit::ModuleSetting& setting = *hostkit::FindModuleSetting("Antialias");
  EXPECT_TRUE(hostkit::StoreModuleSetting(setting, std::nullopt));
  EXPECT_EQ(m_folder.Count(), 0);
  m_folder.Write("registry.ini",
                 "\xef\xbb\xbf[ openGL3 ]\r\n; one\nantialias = 1\nAntialias 2 = 3\n\n"
                 "[Other]\nAntialias = 4\n[OpenGL3]\nANTIALIAS=x\n;Antialias = 5");
  EXPECT_TRUE(hostkit::StoreModuleSetting(setting, std::nullopt));
  EXPECT_EQ(Get("Antialias"), kMissing);
  EXPECT_EQ(Get("Antialias 2"), 3);
  EXPECT_EQ(GetRegistryValue("Other", "Antialias", 0), 4);
  EXPECT_TRUE(Holds(m_folder.Read("registry.ini"), {"; one", ";Antialias = 5"}));
  // Whoever has no such setting keeps the file byte for byte.
  m_folder.Write("registry.ini", "[OpenGL3]\nA  =  1");
  hostkit::RemoveRegistryValue("OpenGL3", "Antialias");
  EXPECT_EQ(m_folder.Read("registry.ini"), "[OpenGL3]\nA  =  1");
  m_folder.Write("registry.ini", "broken");
  EXPECT_TRUE(hostkit::StoreModuleSetting(setting, std::nullopt));
  EXPECT_EQ(Told("registry.ini.broken"), 1);
  EXPECT_FALSE(m_folder.Has("registry.ini"));
}

TEST_F(Registry, ReportsBadValuesOnceAndUsesTheFallback) {
  m_folder.Write(
      "registry.ini",
      "\xef\xbb\xbf[OpenGL3]\r\nA = 12x\r\nB = 2147483648\r\nC =\r\nD = +5\r\nE = +-5\r\n"
      "F = -2147483648\r\n");
  for (int i = 0; i < 2; ++i) {
    for (const char* key : {"A", "B", "C", "E"}) EXPECT_EQ(Get(key), kMissing) << key;
  }
  EXPECT_EQ(Get("D"), 5);
  EXPECT_EQ(Get("F"), INT_MIN);
  EXPECT_EQ(Told("gl3: "), 4);
  EXPECT_NE(hostkit::RegistryError(), "");
}

TEST_F(Registry, SetsBrokenFilesAsideByteForByte) {
  const std::string broken[] = {std::string("[OpenGL3]\nA = 1\0\n", 17),
                                "[OpenGL3\nA = 1\n",
                                "A = 1\nwhatever\n",
                                " = 3\n",
                                "\x7f"
                                "ELF\x01",
                                "[]\n",
                                "A = 1\rB = 2\n"};
  int kept = 0;
  for (const std::string& text : broken) {
    m_folder.Write("registry.ini", text);
    hostkit::ReloadRegistry();
    if (kept % 2) Set("A", 5);
    EXPECT_EQ(Get("A"), kept % 2 ? 5 : kMissing);
    EXPECT_EQ(Get("A"), kept % 2 ? 5 : kMissing);
    EXPECT_EQ(Told("registry.ini.broken"), 1);
    ++kept;
    const std::string name = "registry.ini.broken" + (kept > 1 ? "." + std::to_string(kept) : "");
    EXPECT_EQ(m_folder.Read(name), text);
    EXPECT_EQ(m_folder.Has("registry.ini"), kept % 2 == 0);
  }
  // A file that breaks between reading and writing is kept all the same.
  m_folder.Write("registry.ini", "garbage");
  Set("A", 6);
  EXPECT_EQ(m_folder.Read("registry.ini.broken.8"), "garbage");
  hostkit::ReloadRegistry();
  EXPECT_EQ(Get("A"), 6);
}

TEST_F(Registry, RefusesNamesThatTheFileCannotHold) {
  for (const char* key : {"", " A", "A\nB", "A=B", ";A", "#A", "[A"}) Set(key, 1);
  SetRegistryValue("a]b", "A", 1);
  EXPECT_EQ(Told("cannot store the setting"), 8);
  EXPECT_EQ(m_folder.Count(), 0);
}

/// Takes the right to write to a folder away for as long as it lives. Root may write anywhere, so
/// it steps down to another user instead.
class ReadOnly {
 public:
  explicit ReadOnly(const std::string& folder) : m_folder(folder), m_user(geteuid()) {
    if (m_user != 0) fs::permissions(m_folder, fs::perms(0555));
    EXPECT_EQ(seteuid(m_user != 0 ? m_user : 65534), 0);
  }
  ~ReadOnly() {
    EXPECT_EQ(seteuid(m_user), 0);
    if (m_user != 0) fs::permissions(m_folder, fs::perms(0755));
  }

 private:
  std::string m_folder;
  uid_t m_user;
};

TEST_F(Registry, LeavesWhatItMayNotWriteAlone) {
  const std::string text = "[OpenGL3]\nA = 1\n";
  m_folder.Write("registry.ini", text);
  {
    const ReadOnly readOnly(m_folder.Path(""));
    Set("A", 2);
    EXPECT_EQ(Get("A"), 1);
    EXPECT_TRUE(Holds(hostkit::RegistryError(), {"GL3_REGISTRY"}));
  }
  EXPECT_EQ(m_folder.Read("registry.ini"), text);
  m_folder.Write("registry.ini", "garbage");
  hostkit::ReloadRegistry();
  {
    const ReadOnly readOnly(m_folder.Path(""));
    EXPECT_EQ(Get("A"), kMissing);
    EXPECT_EQ(Get("A"), kMissing);
  }
  EXPECT_EQ(Told("cannot understand"), 1);
  {
    const ReadOnly readOnly(m_folder.Path(""));
    Set("A", 2);
    EXPECT_EQ(Get("A"), kMissing);
  }
  EXPECT_EQ(Told("cannot store"), 1);
  EXPECT_EQ(m_folder.Read("registry.ini"), "garbage");
  EXPECT_EQ(m_folder.Count(), 1);

  for (const std::string& place :
       {m_folder.Path("registry.ini/x.ini"), m_folder.Path(""), std::string("/dev/null")}) {
    setenv("GL3_REGISTRY", place.c_str(), 1);
    hostkit::ReloadRegistry();
    Set("A", 2);
    EXPECT_EQ(hostkit::RegistryError().find(place + ": cannot store"), 0u);
    EXPECT_EQ(Get("A"), kMissing);
    EXPECT_FALSE(hostkit::FindSettingsPlace().writable);
  }
  EXPECT_EQ(m_folder.Count(), 1);

  // A file that is closed to writing in an open folder.
  setenv("GL3_REGISTRY", m_folder.Path("registry.ini").c_str(), 1);
  fs::permissions(m_folder.Path("registry.ini"), fs::perms(0444));
  fs::permissions(m_folder.Path(""), fs::perms(0777));
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  EXPECT_FALSE(hostkit::FindSettingsPlace().writable);
  EXPECT_EQ(seteuid(user), 0);
}

TEST_F(Registry, FindsItsPlaceInTheEnvironment) {
  const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "/";
  unsetenv("GL3_REGISTRY");
  setenv("XDG_CONFIG_HOME", m_folder.Path("config").c_str(), 1);
  hostkit::ReloadRegistry();
  EXPECT_EQ(hostkit::RegistryPath(), m_folder.Path("config/gl3/registry.ini"));
  Set("A", 4);
  EXPECT_TRUE(m_folder.Has("config/gl3/registry.ini"));
  setenv("XDG_CONFIG_HOME", "not/absolute", 1);
  setenv("HOME", m_folder.Path("home").c_str(), 1);
  hostkit::ReloadRegistry();
  EXPECT_EQ(hostkit::RegistryPath(), m_folder.Path("home/.config/gl3/registry.ini"));
  unsetenv("XDG_CONFIG_HOME");
  unsetenv("HOME");
  hostkit::ReloadRegistry();
  EXPECT_EQ(hostkit::RegistryPath(), "");
  Set("A", 5);
  EXPECT_EQ(Get("A"), 5);
  hostkit::RemoveRegistryValue("OpenGL3", "a");
  EXPECT_EQ(Get("A"), kMissing);
  EXPECT_EQ(hostkit::RegistryError(), "");
  setenv("HOME", home.c_str(), 1);
}

TEST_F(Registry, WritersAtOnceLoseNothing) {
  constexpr int kWriters = 4, kKeys = 25;
  for (int writer = 0; writer < kWriters; ++writer) {
    if (fork() != 0) continue;
    for (int key = 0; key < kKeys; ++key) Set(fmt::format("W{} K{}", writer, key).c_str(), key);
    _exit(hostkit::RegistryError().empty() ? 0 : 1);
  }
  for (int status = -1; wait(&status) > 0;) EXPECT_EQ(status, 0);
  for (int i = 0; i < kWriters * kKeys; ++i) {
    EXPECT_EQ(Get(fmt::format("W{} K{}", i / kKeys, i % kKeys).c_str()), i % kKeys) << i;
  }
}

/// A writer that opened the lock's file before its holder removed it holds nothing: a third may
/// hold the next one.
TEST_F(Registry, ALockCountsUnderItsNameAlone) {
  const std::string name = m_folder.Path("registry.ini.lock");
  int tries = 0, other = -1;
  g_beforeLocking = [&] {
    if (++tries == 3) return;
    unlink(name.c_str());
    if (tries == 1) {
      other = open(name.c_str(), O_RDWR | O_CREAT, 0666);
      EXPECT_EQ(Lock(other, LOCK_EX), 0);
    } else {
      EXPECT_FALSE(m_folder.Has("registry.ini")) << "it is another's turn";
      close(other);
    }
  };
  Set("A", 1);
  g_beforeLocking = nullptr;
  EXPECT_EQ(tries, 3);
  EXPECT_EQ(Get("A"), 1);
  EXPECT_EQ(m_folder.Count(), 1);
}

TEST_F(Registry, KilledWritersLeaveTheOldOrTheNew) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> micros(0, 8000);
  for (int i = 0; i < 200; ++i) Set(("Filler " + std::to_string(i)).c_str(), i);
  int last = 0;
  for (int round = 0; round < 40; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      for (int value = last + 1;; ++value) Set("Counter", value);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(micros(random)));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    hostkit::ReloadRegistry();
    const int now = GetRegistryValue("OpenGL3", "Counter", 0);
    EXPECT_GE(now, last);
    last = now;
    for (int key : {0, 100, 199}) EXPECT_EQ(Get(("Filler " + std::to_string(key)).c_str()), key);
    ASSERT_EQ(hostkit::RegistryError(), "");
  }
  EXPECT_GT(last, 0);
  Set("Counter", 0);
  EXPECT_EQ(m_folder.Count(), 1);  // the file: no lock, no litter
}

}  // namespace
