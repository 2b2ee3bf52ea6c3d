// Many models, each imported by a process of its own, for a program that may start none any more.
#include "hostkit/isolated/import_queue.h"

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>

namespace hostkit {
namespace {

constexpr std::size_t kLongestError = 4096;  // bytes of an error line

/// What is told of one import; the shared memory comes along with it.
struct Told {
  ImportEnd end = ImportEnd::kFailed;
  double milliseconds = 0;
  std::array<char, kLongestError> error{};
};

/// A message with room for one descriptor, which the system hands from process to process.
struct Message {
  explicit Message(Told* told) : part{told, sizeof *told} {
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = space.data();
    header.msg_controllen = space.size();
  }

  iovec part;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> space{};
  msghdr header{};
};

/// With `memory` below 0 no descriptor goes along. False when nobody listens any more.
bool Send(int line, Told told, int memory) {
  Message message(&told);
  if (memory < 0) {
    message.header.msg_control = nullptr;
    message.header.msg_controllen = 0;
  } else {
    cmsghdr* const control = CMSG_FIRSTHDR(&message.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof memory);
    std::memcpy(CMSG_DATA(control), &memory, sizeof memory);
  }
  ssize_t count = 0;
  do {
    count = sendmsg(line, &message.header, MSG_NOSIGNAL);
  } while (count < 0 && errno == EINTR);
  return count > 0;
}

/// False when the other process is gone. The descriptor is -1 when none came along.
bool Receive(int line, Told* told, int* memory) {
  Message message(told);
  ssize_t count = 0;
  do {
    count = recvmsg(line, &message.header, MSG_CMSG_CLOEXEC);
  } while (count < 0 && errno == EINTR);
  *memory = -1;
  const cmsghdr* const control = count > 0 ? CMSG_FIRSTHDR(&message.header) : nullptr;
  if (control && control->cmsg_type == SCM_RIGHTS) {
    std::memcpy(memory, CMSG_DATA(control), sizeof *memory);
  }
  return count == static_cast<ssize_t>(sizeof *told);
}

/// Imports one model and tells it; false when nobody listens any more.
bool ImportOne(int line, const std::string& model, const ImportLimits& limits,
               const std::string& scene) {
  const auto start = std::chrono::steady_clock::now();
  ImportProcess import({model}, limits, scene);
  Told told;
  std::string error;
  told.end = import.Wait({}, &error);
  error.copy(told.error.data(), told.error.size() - 1);
  told.milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  return Send(line, told, told.end == ImportEnd::kDone ? import.Memory() : -1);
}

/// The process that starts the imports: one, and with each letter from the other end one more.
[[noreturn]] void StartImports(int line, pid_t parent, const std::vector<std::string>& models,
                               const ImportLimits& limits, const std::string& scene) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it has ended in the meantime
  for (std::size_t i = 0; i < models.size(); ++i) {
    char letter = 0;
    if (i > 0 && read(line, &letter, 1) != 1) break;
    if (!ImportOne(line, models[i], limits, scene)) break;
  }
  _exit(0);
}

}  // namespace

ImportQueue::ImportQueue(std::vector<std::string> models, const ImportLimits& limits,
                         const std::string& scene)
    : m_models(std::move(models)) {
  std::array<int, 2> line{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, line.data()) != 0) {
    m_why = std::strerror(errno);
    return;
  }
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) {
    close(line[0]);
    ImportLimits own = limits;
    own.cancelled = nullptr;
    StartImports(line[1], parent, m_models, own, scene);
  }
  if (process < 0) m_why = std::strerror(errno);
  close(line[1]);
  m_line = line[0];
}

ImportQueue::~ImportQueue() {
  if (m_line >= 0) close(m_line);
}

ImportEnd ImportQueue::Next(std::unique_ptr<Scene>* scene, std::string* error) {
  const std::string& model = m_models[m_taken++];
  Told told;
  int memory = -1;
  if (!m_why.empty()) {
    *error = fmt::format("{}: no process can be made to import it: {}; close other programs", model,
                         m_why);
    return ImportEnd::kFailed;
  }
  if (!Receive(m_line, &told, &memory)) {
    *error = fmt::format("{}: importing it was ended from outside; try again", model);
    return ImportEnd::kFailed;
  }
  const char letter = 0;
  // Nobody listens for one behind the last. Of a process that is gone the next Receive tells.
  if (m_taken < m_models.size()) send(m_line, &letter, 1, MSG_NOSIGNAL);
  m_milliseconds = told.milliseconds;
  told.error.back() = '\0';
  *error = told.error.data();
  if (told.end != ImportEnd::kDone) return told.end;
  const ImportEnd end = TakeScene(memory, model, scene, error);
  if (memory >= 0) close(memory);
  return end;
}

}  // namespace hostkit
