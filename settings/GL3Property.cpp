// The settings page: what it asks the GL, what it shows, and what it stores.
#include "settings/GL3Property.h"

#include <cstddef>
#include <cstdio>
#include <iterator>

#include "driver/ProbeContext.h"
#include "platform/gl.h"
#include "settings/DialogTemplates.h"

namespace {

using Option = GL3GADriver::OptionFlag;

}  // namespace

COpenGLPropertyPage::COpenGLPropertyPage(GL3GADriver* driver, int reduced)
    : CPropertyPage(kPageDialog), m_driver(driver) {
  AskGL();
  ReadOptions();
  // It is never cleared again, except by a new driver.
  if (reduced != 0) m_driver->SetOption(Option::kReducedPage, true);
}

void COpenGLPropertyPage::AskGL() {
  ProbeContext probe;
  switch (probe.Open(ProbeContext::Samples::kFour)) {
    case ProbeContext::Result::kNoFormat:
      m_version = "OpenGL3 Unresolvable error";
      m_vendor = "No matching pixelformat found";
      break;
    case ProbeContext::Result::kNoContext:
      break;
    case ProbeContext::Result::kReady:
      m_version = GLText(GL_VERSION);
      m_vendor = GLText(GL_VENDOR);
      m_renderer = GLText(GL_RENDERER);
      m_shadingLanguage = GLText(GL_SHADING_LANGUAGE_VERSION);
      m_glExtensions = GLText(GL_EXTENSIONS);
      break;
  }
}

void COpenGLPropertyPage::ReadOptions() {
  // A check box knows two states, the registry may hold any number.
  for (std::size_t i = 0; i < m_checked.size(); ++i) {
    m_checked[i] = BoxedSettings()[i].place.get(*m_driver) != 0;
  }
}

void COpenGLPropertyPage::DoDataExchange(CDataExchange* exchange) {
  CPropertyPage::DoDataExchange(exchange);
  DDX_Text(exchange, kVersionText, m_version);
  DDX_Text(exchange, kVendorText, m_vendor);
  DDX_Text(exchange, kRendererText, m_renderer);
  DDX_Text(exchange, kShadingLanguageText, m_shadingLanguage);
  DDX_Control(exchange, kExtensionList, m_extensionList);
  for (std::size_t i = 0; i < m_checked.size(); ++i) {
    DDX_Check(exchange, BoxedSettings()[i].box, m_checked[i]);
  }
}

const AFX_MSGMAP* COpenGLPropertyPage::GetMessageMap() const {
  static const AFX_MSGMAP_ENTRY entries[] = {
      {kExtensionsButton, static_cast<void (CDialog::*)()>(&COpenGLPropertyPage::OnExtensions)}};
  static const AFX_MSGMAP map{CPropertyPage::GetMessageMap(), entries, std::size(entries)};
  return &map;
}

BOOL COpenGLPropertyPage::OnInitDialog() {
  CPropertyPage::OnInitDialog();
  if (m_driver->HasOption(Option::kReducedPage)) {
    for (const StoredSetting& setting : BoxedSettings()) {
      AfxShowWindow(GetDlgItem(setting.box), SW_HIDE);
    }
    return 0;
  }
  char size[20];
  std::snprintf(size, sizeof size, "%d", GL3GADriver::gl_max_texture_size / 4);
  SetDlgItemText(kCompressionBox, (String("Compress if x or y > ") + size).Text());
  CWnd* anisotropic = GetDlgItem(kAnisotropicBox);
  if (anisotropic && !m_driver->HasOption(Option::kAnisotropicAvailable)) {
    anisotropic->EnableWindow(0);
  }
  return 0;
}

BOOL COpenGLPropertyPage::OnSetActive() {
  CPropertyPage::OnSetActive();
  // The list is not emptied first: each time the page comes to the front, it grows.
  AddExtension("GL_ARB_depth_texture", kGLExtensions);
  ForceDraw(m_hWnd);
  AddExtension("GL_ARB_texture_border_clamp", kGLExtensions);
  AddExtension("GL_ARB_texture_non_power_of_two", kGLExtensions);
  AddExtension("GL_ARB_texture_buffer_object", kGLExtensions);
  AddExtension("GL_EXT_framebuffer_object", kGLExtensions);
  AddExtension("GL_EXT_gpu_shader4", kGLExtensions);
  AddExtension("GL_EXT_texture_filter_anisotropic", kGLExtensions);
  AddExtension("GL_KTX_buffer_region", kGLExtensions);
  AddExtension("WGL_ARB_pbuffer", kPlatformExtensions);
  AddExtension("WGL_ARB_multisample", kPlatformExtensions);
  AddExtension("WGL_ARB_pixel_format", kPlatformExtensions);
  return 1;
}

void COpenGLPropertyPage::AddExtension(const String& name, ExtensionType type) {
  const auto text = reinterpret_cast<LPARAM>(name.Text());
  const auto line = static_cast<int>(SendMessageA(m_extensionList.m_hWnd, LB_ADDSTRING, 0, text));
  m_extensionList.Enable(line, 0);
  const String& extensions = type == kPlatformExtensions ? m_platformExtensions : m_glExtensions;
  // A plain search: a name that begins a longer one counts as present.
  if (extensions.Find(name) >= 0) m_extensionList.SetCheck(line, 1);
}

void COpenGLPropertyPage::OnExtensions() {
  CExtensionsDlg dialog(this);
  dialog.DoModal();
}

bool COpenGLPropertyPage::ApplyOptions() {
  bool differs = false;
  for (std::size_t i = 0; i < m_checked.size(); ++i) {
    const SettingPlace& place = BoxedSettings()[i].place;
    // A number that means the same stays as it was.
    if ((m_checked[i] != 0) == (place.get(*m_driver) != 0)) continue;
    place.set(*m_driver, m_checked[i]);
    differs = true;
  }
  return differs;
}

void COpenGLPropertyPage::OnOK() {
  if (ApplyOptions()) {
    StoreSettings(*m_driver);
    CWnd* sheet = CWnd::FromHandle(AfxGetParent(m_hWnd));
    if (sheet) sheet->m_nFlags |= kSettingsStored;
  }
  CPropertyPage::OnOK();
}
