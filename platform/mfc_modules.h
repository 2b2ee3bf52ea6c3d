// Extension modules of MFC: how a module's dialog templates come to be found.
#pragma once

#include "platform/dialog_template.h"
#include "platform/win32.h"

/// A module's record for resource lookup.
struct AFX_EXTENSION_MODULE {
  BOOL bInitialized = 0;      ///< Attached (AfxInitExtensionModule).
  HMODULE hModule = nullptr;  ///< The module; not looked at.
  /// The module's dialogs, which stay in place for as long as the record does; null for none.
  const platform::DialogResources* resources = nullptr;
};

/// Attaches a module to its record; a second call for the same record changes nothing. Always 1.
BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& module, HMODULE handle);

/// Puts a module into the chain in which dialog templates are looked up, for as long as it lives.
class CDynLinkLibrary {
 public:
  /// `system` has no meaning here.
  /// `module` must live as long as this.
  explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& module, BOOL system = 0);
  CDynLinkLibrary(const CDynLinkLibrary&) = delete;
  CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;
  /// Takes the module out of the chain.
  ~CDynLinkLibrary();

  /// First of the chain, the one registered last; null when it is empty.
  static CDynLinkLibrary* First();
  /// The one registered before this one; null for the first.
  CDynLinkLibrary* Next() const { return m_next; }
  /// The module's record.
  const AFX_EXTENSION_MODULE& Module() const { return m_module; }

 private:
  AFX_EXTENSION_MODULE& m_module;
  CDynLinkLibrary* m_next;
};
