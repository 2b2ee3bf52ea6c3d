// What a process may ask of the kernel, held by a filter of its system calls (seccomp).
//
// The filter lists what is refused, since drivers of OpenGL ask for much that differs from one to
// the next; calls that are newer than the list are refused as a whole.
#include "hostkit/confine/calls.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <linux/filter.h>

#include "hostkit/confine/landlock.h"

namespace hostkit {
namespace {

constexpr std::uint32_t kEnd = SCMP_ACT_KILL_PROCESS;
constexpr std::uint32_t kRefuse = SCMP_ACT_ERRNO(EPERM);
constexpr std::uint32_t kUnknown = SCMP_ACT_ERRNO(ENOSYS);

// What nobody but an attacker asks for: other programs, other processes' memory, other views of the
// system, other kernels.
constexpr int kAttacks[] = {
    SCMP_SYS(execve),
    SCMP_SYS(execveat),
    SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev),
    SCMP_SYS(pidfd_getfd),
    SCMP_SYS(unshare),
    SCMP_SYS(setns),
    SCMP_SYS(mount),
    SCMP_SYS(umount),
    SCMP_SYS(umount2),
    SCMP_SYS(pivot_root),
    SCMP_SYS(chroot),
    SCMP_SYS(move_mount),
    SCMP_SYS(open_tree),
    SCMP_SYS(fsopen),
    SCMP_SYS(fsconfig),
    SCMP_SYS(fsmount),
    SCMP_SYS(fspick),
    SCMP_SYS(mount_setattr),
    SCMP_SYS(swapon),
    SCMP_SYS(swapoff),
    SCMP_SYS(reboot),
    SCMP_SYS(kexec_load),
    SCMP_SYS(kexec_file_load),
    SCMP_SYS(init_module),
    SCMP_SYS(finit_module),
    SCMP_SYS(delete_module),
    SCMP_SYS(bpf),
};

// What libraries try and do without. Landlock covers no permissions, owners, attributes and times.
constexpr int kRefusals[] = {
    // Processes, and signals to others.
    SCMP_SYS(fork),
    SCMP_SYS(vfork),
    SCMP_SYS(tkill),
    SCMP_SYS(pidfd_send_signal),
    // What is told about files.
    SCMP_SYS(chmod),
    SCMP_SYS(fchmod),
    SCMP_SYS(fchmodat),
    SCMP_SYS(chown),
    SCMP_SYS(lchown),
    SCMP_SYS(fchown),
    SCMP_SYS(fchownat),
    SCMP_SYS(setxattr),
    SCMP_SYS(lsetxattr),
    SCMP_SYS(fsetxattr),
    SCMP_SYS(removexattr),
    SCMP_SYS(lremovexattr),
    SCMP_SYS(fremovexattr),
    SCMP_SYS(utime),
    SCMP_SYS(utimes),
    SCMP_SYS(futimesat),
    SCMP_SYS(utimensat),
    // Files by other ways than Landlock's; early versions do not hold truncate.
    SCMP_SYS(open_by_handle_at),
    SCMP_SYS(fanotify_init),
    SCMP_SYS(truncate),
    // Large parts of the kernel that work here has no use for.
    SCMP_SYS(keyctl),
    SCMP_SYS(add_key),
    SCMP_SYS(request_key),
    SCMP_SYS(io_uring_setup),
    SCMP_SYS(io_uring_enter),
    SCMP_SYS(io_uring_register),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(perf_event_open),
    // Meeting places of processes.
    SCMP_SYS(semget),
    SCMP_SYS(semop),
    SCMP_SYS(semtimedop),
    SCMP_SYS(semctl),
    SCMP_SYS(msgget),
    SCMP_SYS(msgsnd),
    SCMP_SYS(msgrcv),
    SCMP_SYS(msgctl),
    SCMP_SYS(mq_open),
    SCMP_SYS(mq_unlink),
    // Settings of the process that were made for it.
    SCMP_SYS(setrlimit),
    SCMP_SYS(personality),
    // Settings of the machine.
    SCMP_SYS(quotactl),
    SCMP_SYS(quotactl_fd),
    SCMP_SYS(acct),
    SCMP_SYS(syslog),
    SCMP_SYS(sethostname),
    SCMP_SYS(setdomainname),
    SCMP_SYS(settimeofday),
    SCMP_SYS(clock_settime),
    SCMP_SYS(clock_adjtime),
    SCMP_SYS(adjtimex),
    SCMP_SYS(iopl),
    SCMP_SYS(ioperm),
    SCMP_SYS(vhangup),
};

// Refused as if the kernel were older, and libraries fall back: their arguments lie in memory,
// where a filter cannot look, and the older calls do the same.
constexpr int kOpaque[] = {SCMP_SYS(clone3)};
// Likewise where Landlock does not see a file cut short that is opened for reading.
constexpr int kOpaqueOpening[] = {SCMP_SYS(openat2)};
constexpr int kSeesCutting = 3;  // from this version of its interface on

constexpr int kSocketCalls[] = {SCMP_SYS(socket), SCMP_SYS(socketpair), SCMP_SYS(connect),
                                SCMP_SYS(bind),   SCMP_SYS(listen),     SCMP_SYS(accept),
                                SCMP_SYS(accept4)};
constexpr int kServerCalls[] = {SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(accept),
                                SCMP_SYS(accept4)};
// Memory shared with an X server, or with whomever else.
constexpr int kSharedMemoryCalls[] = {SCMP_SYS(shmget), SCMP_SYS(shmat), SCMP_SYS(shmctl)};

// Linux 6.1 has 450 as its last call. From 424 on numbers are the same on all processors.
constexpr std::uint32_t kFirstNewerCall = 451;

/// A call whose argument number `argument` is, within `mask`, `value`.
struct Case {
  int call;
  unsigned argument;
  std::uint64_t mask, value;
  std::uint32_t answer;
};

// Of numbers of 32 bits the kernel looks at no others, and neither may the filter.
constexpr std::uint64_t kInt = 0xffffffff;
constexpr std::uint64_t kNamespaces = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC |
                                      CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET;
constexpr std::uint64_t kHowOpened = O_ACCMODE | O_TRUNC;

constexpr Case kCases[] = {
    {SCMP_SYS(clone), 0, kNamespaces | CLONE_THREAD, 0, kRefuse},
    {SCMP_SYS(clone), 0, CLONE_NEWNS, CLONE_NEWNS, kEnd},
    {SCMP_SYS(clone), 0, CLONE_NEWCGROUP, CLONE_NEWCGROUP, kEnd},
    {SCMP_SYS(clone), 0, CLONE_NEWUTS, CLONE_NEWUTS, kEnd},
    {SCMP_SYS(clone), 0, CLONE_NEWIPC, CLONE_NEWIPC, kEnd},
    {SCMP_SYS(clone), 0, CLONE_NEWUSER, CLONE_NEWUSER, kEnd},
    {SCMP_SYS(clone), 0, CLONE_NEWPID, CLONE_NEWPID, kEnd},
    {SCMP_SYS(clone), 0, CLONE_NEWNET, CLONE_NEWNET, kEnd},
    // Opened for reading, or for nothing (3), and cut short all the same: early versions of
    // Landlock see no writing in it.
    {SCMP_SYS(open), 1, kHowOpened, O_RDONLY | O_TRUNC, kRefuse},
    {SCMP_SYS(open), 1, kHowOpened, O_ACCMODE | O_TRUNC, kRefuse},
    {SCMP_SYS(openat), 2, kHowOpened, O_RDONLY | O_TRUNC, kRefuse},
    {SCMP_SYS(openat), 2, kHowOpened, O_ACCMODE | O_TRUNC, kRefuse},
    // Typing for the user, in a terminal and on a console.
    {SCMP_SYS(ioctl), 1, kInt, TIOCSTI, kRefuse},
    {SCMP_SYS(ioctl), 1, kInt, TIOCLINUX, kRefuse},
    // Attributes of files, which a descriptor for reading is enough for.
    {SCMP_SYS(ioctl), 1, kInt, FS_IOC_SETFLAGS, kRefuse},
    {SCMP_SYS(ioctl), 1, kInt, FS_IOC_FSSETXATTR, kRefuse},
    // Signals to others when a descriptor is ready.
    {SCMP_SYS(ioctl), 1, kInt, FIOSETOWN, kRefuse},
    {SCMP_SYS(ioctl), 1, kInt, SIOCSPGRP, kRefuse},
    {SCMP_SYS(fcntl), 1, kInt, F_SETOWN, kRefuse},
    {SCMP_SYS(fcntl), 1, kInt, F_SETOWN_EX, kRefuse},
};

/// Rules being gathered; a call that this processor lacks is none, and no failure.
class CallFilter {
 public:
  CallFilter() : m_context(seccomp_init(SCMP_ACT_ALLOW), seccomp_release) {
    // Calls in the manner of other processors, which have other numbers.
    m_good = m_context && seccomp_attr_set(m_context.get(), SCMP_FLTATR_ACT_BADARCH, kEnd) == 0;
  }

  void Add(std::span<const int> calls, std::uint32_t answer) {
    for (const int call : calls) Add(call, answer, {});
  }
  void Add(std::span<const Case> cases) {
    for (const Case& one : cases) {
      const scmp_arg_cmp when = {one.argument, SCMP_CMP_MASKED_EQ, one.mask, one.value};
      Add(one.call, one.answer, {&when, 1});
    }
  }
  /// Refuses a call unless its argument has the value.
  void AddUnless(int call, unsigned argument, std::uint64_t value) {
    const scmp_arg_cmp when = {argument, SCMP_CMP_NE, value, 0};
    Add(call, kRefuse, {&when, 1});
  }
  /// From now on; false when the kernel does not take it.
  bool Load() { return m_good && seccomp_load(m_context.get()) == 0; }

 private:
  void Add(int call, std::uint32_t answer, std::span<const scmp_arg_cmp> when) {
    if (!m_good || call < 0) return;
    m_good = seccomp_rule_add_array(m_context.get(), answer, call,
                                    static_cast<unsigned>(when.size()), when.data()) == 0;
  }

  std::unique_ptr<void, decltype(&seccomp_release)> m_context;
  bool m_good;
};

void AddSockets(Confinement::Sockets sockets, CallFilter* filter) {
  if (sockets != Confinement::Sockets::kLocal) {
    filter->Add(kSocketCalls, sockets == Confinement::Sockets::kEnd ? kEnd : kRefuse);
    filter->Add(kSharedMemoryCalls, kRefuse);
    return;
  }
  // Without an end: a DISPLAY of another machine is the user's wish, and is told as an error.
  filter->Add(kServerCalls, kRefuse);
  filter->AddUnless(SCMP_SYS(socket), 0, AF_UNIX);
  filter->AddUnless(SCMP_SYS(socketpair), 0, AF_UNIX);
}

/// Calls beyond the list answer as they do on a kernel of its time.
bool RefuseNewerCalls() {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, kFirstNewerCall, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, kUnknown),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  sock_fprog program = {static_cast<unsigned short>(std::size(steps)), steps};
  return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

constexpr const char* kNoFilter =
    "calls: the kernel takes no filter of system calls (seccomp, from Linux 4.14), so a confined "
    "process can ask of it all that its user may";

}  // namespace

std::string RestrictCalls(Confinement::Sockets sockets) {
  CallFilter filter;
  filter.Add(kAttacks, kEnd);
  filter.Add(kRefusals, kRefuse);
  filter.Add(kOpaque, kUnknown);
  if (LandlockVersion() < kSeesCutting) filter.Add(kOpaqueOpening, kUnknown);
  filter.Add(kCases);
  AddSockets(sockets, &filter);
  const auto self = static_cast<std::uint64_t>(getpid());
  for (const int call :
       {SCMP_SYS(kill), SCMP_SYS(tgkill), SCMP_SYS(rt_sigqueueinfo), SCMP_SYS(rt_tgsigqueueinfo)}) {
    filter.AddUnless(call, 0, self);
  }
  // Limits may be asked for, and not set.
  filter.AddUnless(SCMP_SYS(prlimit64), 2, 0);
  const bool newer = RefuseNewerCalls();
  return filter.Load() && newer ? "" : kNoFilter;
}

std::string CallsSupport() {
  const std::uint32_t action = SECCOMP_RET_KILL_PROCESS;
  return syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0 ? "" : kNoFilter;
}

}  // namespace hostkit
