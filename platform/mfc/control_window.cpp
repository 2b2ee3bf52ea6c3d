// The state of a dialog's control behind its handle, and the messages of list boxes.
#include <cstring>
#include <utility>

#include "platform/mfc/dialog_window.h"

namespace platform {

ControlWindow::ControlWindow(std::shared_ptr<DialogWindow> dialog, std::size_t index)
    : StateWindow({0, 0, 1, 1}, dialog->Handle(), nullptr),
      m_dialog(std::move(dialog)),
      m_state(m_dialog->m_controls[index]) {}

void ControlWindow::SetText(const char* text) {
  if (m_state.text == text) return;
  m_state.text = text;
  m_dialog->Notify(m_state, ControlChange::kText);
}

void ControlWindow::SetChecked(bool checked) {
  if (std::exchange(m_state.checked, checked) == checked) return;
  m_dialog->Notify(m_state, ControlChange::kChecked);
}

void ControlWindow::Show(bool visible) {
  if (std::exchange(m_state.visible, visible) == visible) return;
  m_dialog->Notify(m_state, ControlChange::kVisible);
}

bool ControlWindow::Enable(bool enabled) {
  const bool before = std::exchange(m_state.enabled, enabled);
  if (before != enabled) m_dialog->Notify(m_state, ControlChange::kEnabled);
  return !before;
}

const ListItem* ControlWindow::Item(int line) const {
  const bool known = line >= 0 && static_cast<std::size_t>(line) < m_state.items.size();
  return known ? &m_state.items[static_cast<std::size_t>(line)] : nullptr;
}

void ControlWindow::SetItem(int line, const ListItem& item) {
  if (!Item(line)) return;
  m_state.items[static_cast<std::size_t>(line)] = item;
  m_dialog->Notify(m_state, ControlChange::kItemChanged, line);
}

int ControlWindow::AddItem(const char* text) {
  if (!text) return LB_ERR;
  const int line = static_cast<int>(m_state.items.size());
  m_state.items.push_back({text, false, true});
  m_dialog->Notify(m_state, ControlChange::kItemAdded, line);
  return line;
}

std::intptr_t ControlWindow::Message(DWORD message, WPARAM wParam, LPARAM lParam) {
  if (m_state.kind != ControlKind::kList && m_state.kind != ControlKind::kCheckList) return 0;
  const auto lines = static_cast<std::intptr_t>(m_state.items.size());
  const ListItem* item = wParam < m_state.items.size() ? &m_state.items[wParam] : nullptr;
  auto* text = reinterpret_cast<char*>(lParam);
  switch (message) {
    case LB_ADDSTRING:
      return AddItem(text);
    case LB_GETCOUNT:
      return lines;
    case LB_GETTEXT:
      if (!item || !text) return LB_ERR;
      std::memcpy(text, item->text.c_str(), item->text.size() + 1);
      [[fallthrough]];
    case LB_GETTEXTLEN:
      return item ? static_cast<std::intptr_t>(item->text.size()) : LB_ERR;
    default:
      return 0;
  }
}

std::shared_ptr<ControlWindow> FindControl(HWND window) {
  return std::dynamic_pointer_cast<ControlWindow>(Windows().Get(window));
}

}  // namespace platform

using namespace platform;

LRESULT SendMessageA(HWND window, DWORD message, WPARAM wParam, LPARAM lParam) {
  const std::shared_ptr<Window> found = Windows().Get(window);
  return found ? found->Message(message, wParam, lParam) : 0;
}
