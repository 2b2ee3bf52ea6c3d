// Message boxes and extension modules.
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "platform/mfc.h"

namespace {

int ShowOnStandardError(const char* text, unsigned int) {
  const std::size_t length = std::strlen(text);
  const bool ended = length > 0 && text[length - 1] == '\n';
  std::fprintf(stderr, ended ? "%s" : "%s\n", text);
  return 1;
}

std::atomic<MessageBoxView> g_messageBoxView = ShowOnStandardError;

std::mutex g_chainMutex;
CDynLinkLibrary* g_chain = nullptr;

}  // namespace

int AfxMessageBox(const char* text, unsigned int type, unsigned int) {
  return g_messageBoxView.load()(text ? text : "", type);
}

MessageBoxView SetMessageBoxView(MessageBoxView view) {
  return g_messageBoxView.exchange(view ? view : ShowOnStandardError);
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& module, HMODULE handle) {
  if (module.bInitialized) return 1;
  module.bInitialized = 1;
  module.hModule = handle;
  return 1;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& module, BOOL) : m_module(module) {
  const std::lock_guard lock(g_chainMutex);
  m_next = g_chain;
  g_chain = this;
}

CDynLinkLibrary::~CDynLinkLibrary() {
  const std::lock_guard lock(g_chainMutex);
  for (CDynLinkLibrary** at = &g_chain; *at; at = &(*at)->m_next) {
    if (*at != this) continue;
    *at = m_next;
    return;
  }
}

CDynLinkLibrary* CDynLinkLibrary::First() {
  const std::lock_guard lock(g_chainMutex);
  return g_chain;
}
