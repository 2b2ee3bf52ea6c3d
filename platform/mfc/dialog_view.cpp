// Which view shows dialogs, and the view of programs that have no user.
#include "platform/dialog_view.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "platform/mfc/dialog_window.h"
#include "platform/mfc_dialogs.h"

namespace platform {
namespace {

/// Nobody is there to answer.
class ConsoleView : public DialogView {
 public:
  void Open(DialogModel&) override {}
  void Run(DialogModel& dialog) override {
    std::fprintf(stderr,
                 "the dialog \"%s\" cannot be shown: this program has no windows; it counts as "
                 "cancelled, use a program that has\n",
                 dialog.Title().c_str());
  }
  void Close(DialogModel&) override {}
};

DialogView* g_view = nullptr;
int g_busy = 0;

char UpperCase(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// Where the access key stands in the text: as it is if possible, else in the other case.
std::size_t FindAccessKey(const std::string& text, char accessKey) {
  if (!accessKey) return std::string::npos;
  const std::size_t exact = text.find(accessKey);
  if (exact != std::string::npos) return exact;
  const auto found = std::find_if(
      text.begin(), text.end(), [accessKey](char letter) { return IsSameKey(letter, accessKey); });
  return found == text.end() ? std::string::npos : static_cast<std::size_t>(found - text.begin());
}

}  // namespace

bool IsSameKey(char a, char b) {
  return UpperCase(a) == UpperCase(b);
}

DialogView* SetDialogView(DialogView* view) {
  return std::exchange(g_view, view);
}

DialogView& CurrentDialogView() {
  static ConsoleView console;
  return g_view ? *g_view : console;
}

const DialogControl* DialogModel::Find(int id) const {
  if (id == kNoControlId) return nullptr;
  const auto found = std::find_if(Controls().begin(), Controls().end(),
                                  [id](const DialogControl& control) { return control.id == id; });
  return found == Controls().end() ? nullptr : &*found;
}

bool DialogModel::IsGroupVisible(int group) const {
  return std::any_of(Controls().begin(), Controls().end(), [group](const DialogControl& control) {
    return control.group == group && control.kind != ControlKind::kGroup && control.visible;
  });
}

std::string MarkAccessKey(const std::string& text, char accessKey, bool* marked) {
  const std::size_t key = FindAccessKey(text, accessKey);
  if (marked) *marked = key != std::string::npos;
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i == key || text[i] == '&') result += '&';
    result += text[i];
  }
  return result;
}

}  // namespace platform

using namespace platform;

CWaitCursor::CWaitCursor() {
  if (g_busy++ == 0) CurrentDialogView().ShowBusy(true);
}

CWaitCursor::~CWaitCursor() {
  if (--g_busy == 0) CurrentDialogView().ShowBusy(false);
}
