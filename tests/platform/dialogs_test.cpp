// Dialogs: their model, the views that drive it, and their ends.

#include <memory>

#include "platform/mfc.h"
#include "platform/platform.h"
#include "platform/scripted_view.h"
#include "tests/support/common/holds.h"

namespace {

using namespace platform;
using Lines = std::vector<std::string>;

enum { kSwitch = 10, kMore, kList, kChecks, kField };

constexpr DialogText kTexts[] = {{"Test", "", 0},
                                 {"Switch", "turns it on", 'S'},
                                 {"More…", "", 'M'},
                                 {"OK", "", 0},
                                 {"Group", "", 0}};
constexpr ControlTemplate kControls[] = {{kNoControlId, ControlKind::kGroup, 4, 1, {}},
                                         {kSwitch, ControlKind::kCheckBox, 1, 1, {}},
                                         {kMore, ControlKind::kButton, 2, kNoGroup, {}},
                                         {kList, ControlKind::kList, kNoText, kNoGroup, {}},
                                         {kChecks, ControlKind::kCheckList, 99, kNoGroup, {}},
                                         {kField, ControlKind::kValue, kNoText, kNoGroup, {}},
                                         {IDOK, ControlKind::kDefaultButton, 3, kNoGroup, {}}};
constexpr DialogTemplate kDialogs[] = {{7, 0, kControls}};
constexpr DialogResources kResources = {kDialogs, kTexts};

class TestDialog : public CDialog {
 public:
  explicit TestDialog(CWnd* parent = nullptr, int id = 7) : CDialog(id, parent) {}
  void (*onMore)(TestDialog&) = [](TestDialog&) {};
  BOOL on = 0;
  CString field = "before";
  CCheckListBox checks;

  void DoDataExchange(CDataExchange* exchange) override {
    DDX_Check(exchange, kSwitch, on);
    DDX_Text(exchange, kField, field);
    DDX_Control(exchange, kChecks, checks);
    DDX_Check(exchange, 999, on);
  }
  const AFX_MSGMAP* GetMessageMap() const override {
    static const AFX_MSGMAP_ENTRY entries[] = {
        {kMore, static_cast<void (CDialog::*)()>(&TestDialog::OnMore)}};
    static const AFX_MSGMAP map{CDialog::GetMessageMap(), entries, 1};
    return &map;
  }

 private:
  void OnMore() { onMore(*this); }
};

/// Its module carries the dialog for as long as a test runs; every window must be gone afterwards.
class Dialogs : public testing::Test {
 protected:
  ~Dialogs() override { EXPECT_EQ(CountHandles().windows, m_windows); }

 private:
  int m_windows = CountHandles().windows;
  AFX_EXTENSION_MODULE m_module = {.resources = &kResources};
  CDynLinkLibrary m_library{m_module};
};

TEST_F(Dialogs, CarryDataInAndWhenConfirmedOut) {
  TestDialog dialog;
  dialog.on = 1;
  DialogControl field;
  for (const bool confirmed : {false, true}) {
    const ScriptedView view({ReadStep(kField, &field), CheckStep(kSwitch, false),
                             confirmed ? ConfirmStep() : CancelStep()});
    EXPECT_EQ(dialog.DoModal(), confirmed ? IDOK : IDCANCEL);
    EXPECT_EQ(field.text, "before");
    EXPECT_EQ(dialog.on, confirmed ? 0 : 1);
  }
}

TEST_F(Dialogs, NobodyToAnswerCountsAsCancelled) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(TestDialog().DoModal(), IDCANCEL);
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(Holds(text, {"\"Test\""}));
  EXPECT_EQ(TestDialog(nullptr, 8).DoModal(), -1) << "no module has such a dialog";
  const ScriptedView stuck({ClickStep(kField), ConfirmStep()});
  EXPECT_EQ(TestDialog().DoModal(), IDCANCEL);
  EXPECT_TRUE(Holds(stuck.Error(), {"click control 14"}));
}

TEST_F(Dialogs, WhatIsHiddenDisabledOrBelowTakesNoInput) {
  static DialogModel* outer;
  TestDialog dialog;
  dialog.onMore = [](TestDialog& below) {
    const ScriptedView view({DoStep([](DialogModel& inner) {
                               EXPECT_NE(&inner, outer);
                               EXPECT_FALSE(outer->Click(kSwitch));
                               EXPECT_FALSE(outer->Cancel());
                               EXPECT_TRUE(inner.Click(kSwitch));
                             }),
                             ConfirmStep()});
    TestDialog inner(&below);
    EXPECT_EQ(inner.DoModal(), IDOK);
    EXPECT_TRUE(outer->Click(kSwitch)) << "on top again";
    AfxShowWindow(below.GetDlgItem(kSwitch), SW_HIDE);
    EXPECT_FALSE(below.GetDlgItem(kMore)->EnableWindow(0));
    EXPECT_TRUE(below.GetDlgItem(kMore)->EnableWindow(0)) << "it was disabled before";
    EXPECT_EQ(below.GetDlgItem(999), nullptr);
  };
  const ScriptedView view({DoStep([](DialogModel& model) {
    outer = &model;
    EXPECT_TRUE(model.Click(kMore));
    EXPECT_FALSE(model.Click(kMore));
    EXPECT_FALSE(model.SetChecked(kSwitch, true));
    EXPECT_FALSE(model.PressKey('s'));
    EXPECT_FALSE(model.IsGroupVisible(1));
    EXPECT_FALSE(model.ShowPage(0));
    EXPECT_FALSE(model.Click(kNoControlId));
  })});
  EXPECT_EQ(dialog.DoModal(), IDCANCEL);
}

/// Writes down what it is told.
class NotingView : public ScriptedView {
 public:
  using ScriptedView::ScriptedView;
  void Open(DialogModel&) override { notes.emplace_back("open"); }
  void Close(DialogModel&) override { notes.emplace_back("close"); }
  void Changed(DialogModel&, const DialogControl& control, ControlChange change,
               int item) override {
    notes.push_back(std::to_string(control.id) + " " + std::to_string(static_cast<int>(change)) +
                    " " + std::to_string(item));
  }
  void Redraw(DialogModel&) override { notes.emplace_back("redraw"); }
  void Ended(DialogModel&) override { notes.emplace_back("ended"); }
  void ShowBusy(bool busy) override { notes.emplace_back(busy ? "busy" : "idle"); }
  Lines notes;
};

TEST_F(Dialogs, TellTheirViewEveryChangeOnce) {
  NotingView view({ClickStep(kMore), ConfirmStep()});
  TestDialog dialog;
  dialog.onMore = [](TestDialog& shown) {
    const CWaitCursor busy, stillBusy;
    shown.SetDlgItemText(kField, "after");
    shown.SetDlgItemText(kField, "after");
    shown.checks.AddString("line");
    shown.checks.SetCheck(0, 1);
    shown.checks.Enable(5);
    EXPECT_TRUE(ForceDraw(shown.m_hWnd));
    AfxShowWindow(shown.GetDlgItem(kSwitch), SW_HIDE);
    shown.GetDlgItem(kSwitch)->EnableWindow(0);
    shown.on = 1;
    shown.UpdateData(0);
  };
  EXPECT_EQ(dialog.DoModal(), IDOK);
  EXPECT_EQ(view.notes, (Lines{"open", "busy", "14 0 -1", "13 4 0", "13 5 0", "redraw", "10 3 -1",
                               "10 2 -1", "10 1 -1", "14 0 -1", "idle", "ended", "close"}));
  EXPECT_EQ(dialog.m_hWnd, nullptr);
  EXPECT_EQ(dialog.checks.m_hWnd, nullptr);
  EXPECT_FALSE(dialog.UpdateData(1)) << "there is no window any longer";
}

TEST_F(Dialogs, ListsKeepLinesByNumber) {
  TestDialog dialog;
  dialog.onMore = [](TestDialog& shown) {
    HWND list = shown.GetDlgItem(kList)->m_hWnd;
    const auto send = [list](DWORD message, WPARAM line, const char* text) {
      return SendMessageA(list, message, line, reinterpret_cast<LPARAM>(text));
    };
    EXPECT_EQ(send(LB_ADDSTRING, 0, "b"), 0);
    EXPECT_EQ(send(LB_ADDSTRING, 0, ""), 1);
    EXPECT_EQ(send(LB_ADDSTRING, 0, nullptr), LB_ERR);
    EXPECT_EQ(send(LB_GETCOUNT, 0, nullptr), 2);
    EXPECT_EQ(send(LB_GETTEXTLEN, 2, nullptr), LB_ERR);
    EXPECT_EQ(send(LB_GETTEXT, static_cast<WPARAM>(-1), nullptr), LB_ERR);
    char text[] = "xx";
    EXPECT_EQ(send(LB_GETTEXT, 0, text), 1);
    EXPECT_STREQ(text, "b");
    EXPECT_EQ(SendMessageA(shown.m_hWnd, LB_GETCOUNT, 0, 0), 0) << "no list";
    for (const char* line : {"free", "fixed"}) shown.checks.AddString(line);
    shown.checks.Enable(1, 0);
  };
  const ScriptedView view({ClickStep(kMore), DoStep([&dialog](DialogModel& model) {
                             EXPECT_TRUE(model.CheckItem(kChecks, 0, true));
                             EXPECT_FALSE(model.CheckItem(kChecks, 1, true));
                             EXPECT_FALSE(model.CheckItem(kChecks, 2, true));
                             EXPECT_FALSE(model.CheckItem(kList, 0, true)) << "has no marks";
                             EXPECT_TRUE(dialog.checks.GetCheck(0));
                             EXPECT_FALSE(dialog.checks.GetCheck(1));
                             EXPECT_FALSE(dialog.checks.IsEnabled(1));
                           })});
  dialog.DoModal();
  EXPECT_TRUE(view.IsDone()) << view.Error();
}

TEST_F(Dialogs, AWindowThatIsDestroyedEndsItsDialog) {
  TestDialog dialog;
  dialog.onMore = [](TestDialog& shown) {
    const CWnd* control = CWnd::FromHandle(shown.GetDlgItem(kList)->m_hWnd);
    EXPECT_EQ(AfxGetParent(control), &shown);
    EXPECT_EQ(AfxGetParent(control->m_hWnd), shown.m_hWnd);
    shown.DestroyWindow();
  };
  const ScriptedView view({ClickStep(kMore), ConfirmStep()});
  EXPECT_EQ(dialog.DoModal(), IDCANCEL);
  EXPECT_FALSE(view.IsDone());
  EXPECT_EQ(view.Error(), "") << "the script has no say in it";
}

class StubbornPage : public CPropertyPage {
 public:
  StubbornPage() : CPropertyPage(7) {}
  BOOL OnSetActive() override {
    calls.emplace_back("active");
    return CPropertyPage::OnSetActive();
  }
  BOOL OnKillActive() override {
    calls.emplace_back("leave");
    return mayLeave;
  }
  void OnOK() override { calls.emplace_back("ok"); }
  void OnCancel() override { calls.emplace_back("cancel"); }
  BOOL mayLeave = 1;
  Lines calls;
};

TEST_F(Dialogs, SheetsAskTheirPages) {
  StubbornPage first, second;
  CPropertySheet sheet("Sheet");
  sheet.AddPage(&first);
  sheet.AddPage(&second);
  const ScriptedView view(
      {DoStep([&](DialogModel& model) {
         EXPECT_EQ(model.Title(), "Sheet");
         EXPECT_FALSE(model.Pages()[1]->Click(kSwitch)) << "not in front";
         first.mayLeave = 0;
         EXPECT_FALSE(model.ShowPage(1));
         EXPECT_TRUE(model.Confirm());
         EXPECT_FALSE(model.IsEnded()) << "the page refuses to leave";
         first.mayLeave = 1;
         EXPECT_FALSE(model.ShowPage(2));
       }),
       DoStep([](DialogModel& model) { EXPECT_TRUE(model.Pages()[0]->Confirm()); })});
  EXPECT_EQ(sheet.DoModal(), IDOK);
  EXPECT_EQ(first.calls, (Lines{"active", "leave", "leave", "leave", "ok"}));
  EXPECT_EQ(second.calls, Lines()) << "never in front";
}

TEST(DialogTexts, AccessKeysAreMarkedWhereTheTextHasThem) {
  bool marked = false;
  EXPECT_EQ(MarkAccessKey("Save as", 'a', &marked), "S&ave as");
  EXPECT_EQ(MarkAccessKey("Save As", 'A'), "Save &As");
  EXPECT_EQ(MarkAccessKey("R&D", 'd', &marked), "R&&&D");
  EXPECT_TRUE(marked);
  EXPECT_EQ(MarkAccessKey("x > 4", 'C', &marked), "x > 4");
  EXPECT_FALSE(marked);
}

}  // namespace
