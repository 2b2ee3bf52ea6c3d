// What confined processes can still do, and what not: children confine themselves and try it.
#include "hostkit/confine/confine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <linux/random.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <functional>
#include <sstream>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "hostkit/confine/calls.h"
#include "hostkit/confine/landlock.h"
#include "tests/support/common/temp_folder.h"

namespace {

using hostkit::Confinement;
using Sockets = Confinement::Sockets;

Confinement Keeping(std::vector<std::string> readable, std::vector<std::string> writable) {
  Confinement confinement;
  confinement.readable = std::move(readable);
  confinement.writable = std::move(writable);
  return confinement;
}

/// What a child comes to that does `prepare` and then `attempt`: 0, the errno of an attempt that
/// returns less than 0, or minus the signal that ends it.
int Try(const std::function<void()>& prepare, const std::function<long()>& attempt) {
  const pid_t child = fork();
  if (child == 0) {
    setsid();  // no terminal to hang up
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    prepare();
    _exit(attempt() < 0 ? errno : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

int Try(const Confinement& confinement, const std::function<long()>& attempt) {
  return Try(std::function<void()>([&] { hostkit::Confine(confinement); }), attempt);
}

/// What an attempt returns that is well when `right`.
long Whether(bool right) {
  errno = ERANGE;
  return right ? 0 : -1;
}

/// The calls of the kernel alone, without files being limited.
std::function<void()> CallsAlone(Sockets sockets = Sockets::kEnd) {
  return [sockets] {
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    hostkit::RestrictCalls(sockets);
  };
}

/// A call with arguments that make no sense, so that it does nothing where it is allowed.
long Nonsense(int call) {
  return syscall(call, -1L, -1L, -1L, -1L, -1L, -1L);
}

/// That each of `names`, as far as this processor has it, comes to `expected`.
void ExpectForAll(const std::string& names, Sockets sockets, int expected) {
  std::istringstream words(names);
  for (std::string name; words >> name;) {
    const int call = seccomp_syscall_resolve_name(name.c_str());
    if (call < 0) continue;
    EXPECT_EQ(Try(CallsAlone(sockets), [&] { return Nonsense(call); }), expected) << name;
  }
}

/// Folders in/ to read, out/ to write and other/.
class ConfinedFiles : public testing::Test {
 protected:
  void SetUp() override {
    if (hostkit::LandlockVersion() == 0) GTEST_SKIP() << hostkit::ConfinementSupport().files;
    for (const char* name : {"in", "in/deep", "out", "out/deep", "other"}) {
      mkdir(m_folder.Path(name).c_str(), 0755);
    }
    for (const char* name : {"in/model", "in/deep/picture", "out/old", "other/secret"}) {
      m_folder.Write(name, "text");
    }
    ASSERT_EQ(symlink("../other/secret", m_folder.Path("in/link").c_str()), 0);
    ASSERT_EQ(chdir(m_folder.Path(".").c_str()), 0);
    m_import = Keeping({"in", "missing"}, {"out", "missing"});
    m_draw = m_import;
    m_draw.readsEverything = true;
    m_draw.sockets = Sockets::kLocal;
  }
  void TearDown() override { ASSERT_EQ(chdir("/"), 0); }

  TempFolder m_folder;
  Confinement m_import, m_draw;
};

TEST_F(ConfinedFiles, OpenWhereTheyMay) {
  const std::tuple<const char*, int, int, int> cases[] = {
      {"in/model", O_RDONLY, 0, 0},
      {"in/deep/picture", O_RDONLY, 0, 0},
      {"in", O_RDONLY | O_DIRECTORY, 0, 0},
      {"other", O_RDONLY | O_DIRECTORY, EACCES, 0},
      {"other/secret", O_RDONLY, EACCES, 0},
      {"in/../other/secret", O_RDONLY, EACCES, 0},
      {"in/link", O_RDONLY, EACCES, 0},
      {"/etc/passwd", O_RDONLY, EACCES, 0},
      {"in/model", O_WRONLY, EACCES, EACCES},
      {"in/new", O_WRONLY | O_CREAT, EACCES, EACCES},
      {"other/secret", O_RDWR, EACCES, EACCES},
      {"out/old", O_RDONLY, 0, 0},
      {"out/new", O_RDWR | O_CREAT | O_TRUNC, 0, 0},
      {"out/deep", O_RDWR | O_TMPFILE, 0, 0},
  };
  for (const auto& [path, flags, importing, drawing] : cases) {
    const auto attempt = [&, path = path, flags = flags] { return open(path, flags, 0600); };
    EXPECT_EQ(Try(m_import, attempt), importing) << path << ' ' << flags;
    EXPECT_EQ(Try(m_draw, attempt), drawing) << path << ' ' << flags;
  }
}

TEST_F(ConfinedFiles, ChangeInWritableFoldersAlone) {
  const struct {
    const char* what;
    int inside;  ///< What it comes to in a folder that is writable.
    std::function<long()> attempt;
  } cases[] = {
      {"mkdir", 0, [] { return mkdir("new", 0700); }},
      {"unlink", 0, [] { return unlink("file"); }},
      {"rmdir", 0, [] { return rmdir("empty"); }},
      {"rename", 0, [] { return rename("file", "name"); }},
      {"move", hostkit::LandlockVersion() > 1 ? 0 : EXDEV, [] { return rename("file", "a/b"); }},
      {"link", 0, [] { return link("file", "name"); }},
      {"symlink", EACCES, [] { return symlink("/", "name"); }},
      {"mkfifo", EACCES, [] { return mkfifo("name", 0600); }},
      {"character device", EACCES, [] { return mknod("name", S_IFCHR | 0600, 0x103); }},
      {"block device", EACCES, [] { return mknod("name", S_IFBLK | 0600, 0x103); }},
      {"socket", EACCES, [] { return mknod("name", S_IFSOCK | 0600, 0); }},
  };
  for (const char* folder : {"out", "other"}) {
    for (const auto& [what, inside, attempt] : cases) {
      const bool outside = folder == std::string("other") && inside != EXDEV;
      const auto prepare = [&] {
        if (chdir(folder) != 0 || system("rm -rf * && mkdir a empty && touch file") != 0) _exit(99);
        hostkit::Confine(Keeping({}, {m_folder.Path("out")}));
      };
      EXPECT_EQ(Try(prepare, attempt), outside ? EACCES : inside) << what << " in " << folder;
    }
  }
}

TEST_F(ConfinedFiles, AreHeldByLandlockAlone) {
  const int version = hostkit::LandlockVersion();
  const auto landlock = [](const Confinement& confinement) {
    return [confinement] {
      prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
      if (!hostkit::RestrictFiles(confinement).empty()) _exit(99);
    };
  };
  const auto run = [] { return execl("/bin/true", "true", nullptr); };
  EXPECT_EQ(Try(landlock(Keeping({"/"}, {"/"})), run), EACCES);
  const auto cut = [] { return truncate("other/secret", 0); };
  EXPECT_EQ(Try(landlock(m_draw), cut), version >= 3 ? EACCES : 0);
  int entropy = 0;
  const auto ask = [&] { return ioctl(open("/dev/urandom", O_RDONLY), RNDGETENTCNT, &entropy); };
  EXPECT_EQ(Try(landlock(Keeping({}, {"/dev/urandom"})), ask), 0);
  EXPECT_EQ(Try(landlock(Keeping({"/dev"}, {})), ask), version >= 5 ? EACCES : 0);
  const auto nameless = [&] {
    dup2(memfd_create("file", 0), 50);
    landlock(Keeping({}, {"/proc/self/fd/50"}))();
  };
  const auto read = [] { return open("other/secret", O_RDONLY); };
  EXPECT_EQ(Try(nameless, read), EACCES) << "what is in no folder keeps no others open";
}

TEST(ConfinedCalls, EndAttackers) {
  ExpectForAll(
      "execve execveat ptrace process_vm_readv process_vm_writev pidfd_getfd unshare setns mount "
      "umount umount2 pivot_root chroot move_mount open_tree fsopen fsconfig fsmount fspick "
      "mount_setattr swapon swapoff reboot kexec_load kexec_file_load init_module finit_module "
      "delete_module bpf",
      Sockets::kLocal, -SIGSYS);
  ExpectForAll("socket socketpair connect bind listen accept accept4", Sockets::kEnd, -SIGSYS);
  ExpectForAll("socket socketpair connect bind listen accept accept4", Sockets::kRefuse, EPERM);
  for (const int space : {CLONE_NEWNS, CLONE_NEWCGROUP, CLONE_NEWUTS, CLONE_NEWIPC, CLONE_NEWUSER,
                          CLONE_NEWPID, CLONE_NEWNET}) {
    const auto clone = [space] { return syscall(SYS_clone, space | SIGCHLD, 0, 0, 0, 0); };
    EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), clone), -SIGSYS) << space;
  }
#ifdef __x86_64__
  // The numbers of another kind of program; from a thread, to end more than that.
  const auto foreign = [] { std::thread([] { syscall(0x40000000 | SYS_getpid); }).join(); };
  EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), [&] { return foreign(), 0; }), -SIGSYS);
#endif
}

TEST(ConfinedCalls, RefuseWhatLibrariesTry) {
  ExpectForAll(
      "fork vfork kill tgkill tkill rt_sigqueueinfo rt_tgsigqueueinfo pidfd_send_signal chmod "
      "fchmod fchmodat chown lchown fchown fchownat setxattr lsetxattr fsetxattr removexattr "
      "lremovexattr fremovexattr utime utimes futimesat utimensat open_by_handle_at fanotify_init "
      "truncate keyctl add_key request_key io_uring_setup io_uring_enter io_uring_register "
      "userfaultfd perf_event_open semget semop semtimedop semctl msgget msgsnd msgrcv msgctl "
      "mq_open mq_unlink setrlimit prlimit64 personality quotactl quotactl_fd acct syslog "
      "sethostname setdomainname settimeofday clock_settime clock_adjtime adjtimex iopl ioperm "
      "vhangup socket socketpair bind listen accept accept4",
      Sockets::kLocal, EPERM);
  ExpectForAll("shmget shmat shmctl", Sockets::kEnd, EPERM);
  ExpectForAll("clone3", Sockets::kLocal, ENOSYS);

  const bool isSeen = hostkit::LandlockVersion() >= 3;
  if (!isSeen) ExpectForAll("openat2", Sockets::kLocal, ENOSYS);
  for (const unsigned long request : {TIOCSTI | 1ul << 32, 0ul + TIOCLINUX, 0ul + FS_IOC_SETFLAGS,
                                      0ul + FS_IOC_FSSETXATTR, 0ul + FIOSETOWN, 0ul + SIOCSPGRP}) {
    const auto ask = [request] { return syscall(SYS_ioctl, -1, request, "x"); };
    EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), ask), EPERM) << request;
  }
  for (const int request : {F_SETOWN, F_SETOWN_EX}) {
    EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), [=] { return fcntl(-1, request, 1); }), EPERM)
        << request;
  }
  for (const int flags : {O_RDONLY | O_TRUNC, O_ACCMODE | O_TRUNC}) {
    EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), [=] { return open("/missing", flags); }), EPERM)
        << flags;
#ifdef SYS_open
    const auto old = [=] { return syscall(SYS_open, "/missing", flags); };
    EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), old), EPERM) << flags;
#endif
  }
  const auto newProcess = [] { return syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0); };
  EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), newProcess), EPERM);
  EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), [] { return Nonsense(452); }), ENOSYS)
      << "a newer call";
}

TEST(ConfinedCalls, LeaveWhatWorkNeeds) {
  EXPECT_EQ(Try(Confinement{}, []() -> long { abort(); }), -SIGABRT);
  const auto work = [] {
    std::thread([] {}).join();
    rlimit limit = {};
    return kill(getpid(), 0) | getrlimit(RLIMIT_CPU, &limit) | memfd_create("file", 0);
  };
  EXPECT_EQ(Try(Confinement{}, work), 0);
  // Nobody listens, which only one hears that may ask.
  const auto connectLocally = [] {
    const sockaddr_un nobody = {AF_UNIX, "/missing"};
    const int client = socket(AF_UNIX, SOCK_STREAM, 0);
    return connect(client, reinterpret_cast<const sockaddr*>(&nobody), sizeof nobody);
  };
  EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), connectLocally), ENOENT);
  EXPECT_EQ(Try(CallsAlone(Sockets::kLocal), [] { return shmctl(-1, IPC_STAT, nullptr); }), EINVAL);
}

TEST(Confined, KeepTheirLimits) {
  Confinement limited;
  limited.processorSeconds = 1;
  limited.fileSize = 1000;
  limited.files = 40;
  const auto spin = [] {
    while (clock() < 5 * CLOCKS_PER_SEC) continue;
    return 0;
  };
  EXPECT_EQ(Try(limited, spin), -SIGXCPU);
  EXPECT_EQ(Try(limited, [] { return ftruncate(memfd_create("file", 0), 1001); }), -SIGXFSZ);
  EXPECT_EQ(Try(limited, [] { return dup2(0, 40); }), EBADF);
  const auto before = [&] {
    const rlimit low = {30, 60};
    setrlimit(RLIMIT_NOFILE, &low);
    hostkit::Confine(limited);
  };
  const auto look = [] {
    rlimit files = {}, processor = {};
    getrlimit(RLIMIT_NOFILE, &files);
    getrlimit(RLIMIT_CPU, &processor);
    return Whether(files.rlim_cur == 30 && files.rlim_max == 40 && processor.rlim_max == 2);
  };
  EXPECT_EQ(Try(before, look), 0) << "limits fall alone, and the last second is not ignored";
}

/// Lets the calling process run on a kernel that lacks calls.
void Lack(std::initializer_list<int> calls, int reason) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  for (const int call : calls) seccomp_rule_add(filter, SCMP_ACT_ERRNO(reason), call, 0);
  seccomp_load(filter);
}

TEST(Confined, CloseDescriptorsOfOthers) {
  const int kept = dup2(0, 50), other = dup2(0, 51), below = dup2(0, 49);
  const auto isOpen = [](int descriptor) { return fcntl(descriptor, F_GETFD) >= 0; };
  for (const bool newKernel : {true, false}) {
    const auto prepare = [&] {
      if (!newKernel) Lack({SYS_close_range}, ENOSYS);
      Confinement confinement = Keeping({"/"}, {"/"});
      confinement.closeOthers = true;
      confinement.keep = {kept, -1, kept};
      hostkit::Confine(confinement);
    };
    const auto look = [&] {
      return Whether(isOpen(kept) && isOpen(2) && !isOpen(other) && !isOpen(below) && dup(0) == 3 &&
                     dup(0) == 4);
    };
    EXPECT_EQ(Try(prepare, look), 0) << newKernel;
  }
  EXPECT_EQ(Try(Confinement{}, [&] { return fcntl(other, F_GETFD); }), 0);
  for (const int descriptor : {kept, other, below}) close(descriptor);
}

TEST(Confined, SayWhatTheKernelLacks) {
  const auto tells = [](const char* part, const std::string& text) {
    return text.find(part) != std::string::npos && text.find('\n') == std::string::npos;
  };
  const auto noLandlock = [&] {
    const std::string support = hostkit::ConfinementSupport().files;
    return Whether(tells("files: the kernel has no Landlock", support) &&
                   hostkit::Confine({}).files == support && Nonsense(SYS_add_key) < 0 &&
                   errno == EPERM);
  };
  EXPECT_EQ(Try([] { Lack({SYS_landlock_create_ruleset}, ENOSYS); }, noLandlock), 0);
  const auto noSeccomp = [&] {
    const std::string support = hostkit::ConfinementSupport().calls;
    return Whether(tells("calls: the kernel takes no filter", support) &&
                   hostkit::Confine({}).calls == support &&
                   (hostkit::LandlockVersion() == 0 || open("/etc/passwd", O_RDONLY) < 0));
  };
  EXPECT_EQ(Try([] { Lack({SYS_seccomp, SYS_prctl}, EINVAL); }, noSeccomp), 0);
  const auto full = [&] {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    const std::string files = hostkit::Confine(Keeping({"/"}, {})).files;
    return Whether(hostkit::LandlockVersion() == 0 || tells("cannot be used (", files));
  };
  EXPECT_EQ(Try([] {}, full), 0);
  // Whoever is no administrator must have given up more before.
  const auto asNobody = [] {
    const bool ordinary = getuid() != 0 || setuid(65534) == 0;
    return Whether(ordinary && hostkit::Confine({}).files == hostkit::ConfinementSupport().files);
  };
  EXPECT_EQ(Try([] {}, asNobody), 0);
}

}  // namespace
