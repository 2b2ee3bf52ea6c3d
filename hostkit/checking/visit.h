// A host's call on its way to the module and back.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "hostkit/checking/checking.h"
#include "hostkit/checking/session.h"

namespace hostkit::checking {

/// What is asked of an operation's call beside its arguments, and what it leaves behind.
enum Rule : unsigned {
  kFree = 0,
  kAnyThread = 1 << 0,      ///< Reads or makes memory alone.
  kSurface = 1 << 1,        ///< The buffer's Reallocate succeeded.
  kProjected = 1 << 2,      ///< Its projections were computed for the view as it is.
  kInFrame = 1 << 3,        ///< Between BeginInstructions and EndInstructions.
  kInBlock = 1 << 4,        ///< A block is open.
  kOutOfBlock = 1 << 5,     ///< No block is open.
  kInContext = 1 << 6,      ///< The buffer's context is current.
  kMakesCurrent = 1 << 7,   ///< It is afterwards.
  kNewContext = 1 << 8,     ///< A context that was not there may be current afterwards.
  kClosesBlock = 1 << 9,    ///< No block is open afterwards.
  kBatches = 1 << 10,       ///< Something waits in a batch afterwards.
  kFlushes = 1 << 11,       ///< As a rule nothing does.
  kReadsPicture = 1 << 12,  ///< What waits is missing in what is read or shown.
  kDraws = kSurface | kProjected | kInFrame,
  kDrawsNow = kDraws | kInContext,
};

/// One call of an operation, from its beginning to its end. Calls that the module makes itself
/// while a call of the host runs are no visits of the host: those pass.
class Visit {
 public:
  Visit(const char* operation, unsigned rules);
  ~Visit();
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

  bool IsOfHost() const { return m_isOfHost; }
  bool Has(Rule rule) const { return (m_rules & rule) != 0; }
  Session& State() { return m_session; }
  /// Notes a misuse of the host, unless it was told already: for this operation, or for any, of
  /// those that one mistake makes of every call. Between Lock and Unlock.
  void Note(Kind kind, std::string values);
  /// Notes how many calls more there were of the latter.
  void NoteRepeats();

  /// Begins to look at the state.
  void Lock();
  /// Ends it and tells what was noted.
  void Unlock();
  /// Notes the errors that the GL has had, but for those of a call that a block was open for: that
  /// is told by itself. Between Lock and Unlock.
  void NoteGlErrors();

 private:
  void CheckThread();
  void Add(Kind kind, std::string values);

  const char* m_operation;
  unsigned m_rules;
  bool m_isOfHost;
  bool m_isInOpenBlock = false;  // and the GL refuses the call
  Session& m_session = TheSession();
  std::unique_lock<std::mutex> m_lock;
  std::vector<Misuse> m_noted;
};

/// What is asked of every call on an object, by its class, and what every call leaves behind.
void CheckBefore(Visit& visit, const GADriver& driver);
void CheckBefore(Visit& visit, const GABuffer& buffer);
void CheckBefore(Visit& visit, const DisplayList& list);
void CheckBefore(Visit& visit, const GATexture& texture);
void CheckBefore(Visit& visit, const GAShaderProgram& program);
void KeepAfter(Visit& visit, const GADriver& driver);
void KeepAfter(Visit& visit, const GABuffer& buffer);
void KeepAfter(Visit& visit, const DisplayList& list);
void KeepAfter(Visit& visit, const GATexture& texture);
void KeepAfter(Visit& visit, const GAShaderProgram& program);

/// Who is told; null is standard error.
void SetListener(MisuseCallback callback, void* userData);

}  // namespace hostkit::checking
