// The renderer's page of the host's settings sheet, and the dialog that lists all extensions.
#pragma once

#include <array>

#include "driver/GL3Driver.h"
#include "host/Streams.h"
#include "host/String.h"
#include "platform/mfc.h"
#include "settings/StoredSettings.h"

/// Shows what OpenGL the machine offers, and the renderer's options. Confirmed options take effect
/// in the driver and are stored in the registry.
class COpenGLPropertyPage : public CPropertyPage {
 public:
  /// Which list of extensions a name is looked up in.
  enum ExtensionType : int { kGLExtensions = 0, kPlatformExtensions = 1 };

  /// Asks the GL through a context of its own, so the driver need not be initialised; it is not
  /// owned and must outlive the page. Non-zero `reduced` makes the driver's pages, this one and
  /// later ones, show their information alone.
  COpenGLPropertyPage(GL3GADriver* driver, int reduced);

  /// Returns 0: the focus is not to go to the first control.
  BOOL OnInitDialog() override;
  BOOL OnSetActive() override;
  void OnOK() override;

  /// Appends a name to the list of extensions, not to be changed by the user, and checked when it
  /// occurs in the extensions of the type, be it as a part of a longer name.
  void AddExtension(const String& name, ExtensionType type);

  GL3GADriver* Driver() const { return m_driver; }
  /// Names that the GL reports, with spaces between them; empty without a GL.
  const String& GLExtensions() const { return m_glExtensions; }

 protected:
  void DoDataExchange(CDataExchange* exchange) override;
  const AFX_MSGMAP* GetMessageMap() const override;

 private:
  void AskGL();
  void ReadOptions();
  /// Sets what differs from the check boxes. False when nothing does.
  bool ApplyOptions();
  void OnExtensions();

  GL3GADriver* m_driver;
  String m_glExtensions;
  String m_platformExtensions;  // always empty
  CString m_version;
  CString m_vendor;
  CString m_renderer;
  CString m_shadingLanguage;
  std::array<BOOL, kBoxedSettings> m_checked{};  // one for each of BoxedSettings
  CCheckListBox m_extensionList;
};

/// Lists every extension that the GL reports, and saves the full report to a text file.
class CExtensionsDlg : public CDialog {
 public:
  /// The page is not owned.
  explicit CExtensionsDlg(COpenGLPropertyPage* page);

  /// Returns 0.
  BOOL OnInitDialog() override;

 protected:
  const AFX_MSGMAP* GetMessageMap() const override;

 private:
  /// Asks for a file and writes the report there. One that cannot be made is passed over in
  /// silence.
  void OnButton1();
  void WriteReport(FileStream& file);

  COpenGLPropertyPage* m_page;
};
