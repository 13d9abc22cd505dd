#pragma once

#include <string>

#include "flows/ZarnForm.h"
#include "flows/clsReaderPicture.h"

/// The labels of the info panel.
struct InfoPanel {
    std::string Product;   ///< `labProduct`
    std::string Version;   ///< `labROMVersion`
    std::string SerialNo;  ///< `labROMSN`
    std::string Port;      ///< `labPort`
    bool operator==(const InfoPanel&) const = default;
};

/// Which command buttons may be pressed.
struct ButtonStates {
    bool Idle = true;   ///< `cmdExit`, `cmdOpen`, `cmdSave`, `cmdAutoScan`
    bool Port = false;  ///< `cmdShowZarn74`, `cmdApply`, `cmdInitialize`
    bool ReadCardInfo = false;
    bool Test = false;
    bool Cancel = false;
    bool operator==(const ButtonStates&) const = default;
};

/// The result indicator of the EEPROM test.
enum class TestIndicator { Grey, Green, Red };
/// 0xRRGGBB.
constexpr std::uint32_t TestIndicatorRGB(TestIndicator indicator) {
    switch (indicator) {
        case TestIndicator::Green: return 0x00FF00;
        case TestIndicator::Red: return 0xFF0000;
        case TestIndicator::Grey: break;
    }
    return 0x808080;
}

/// What the flows need of a front end: the window, or a command line that shows less. Members come from
/// inside flows, also while one waits. Only ShowMessageBox and GetFileName may run the event loop.
class clsIMainView {
  public:
    virtual ~clsIMainView() = default;

    /// Fills the form from the controls. False where there are no controls: then no record is shown.
    virtual bool ReadForm(ZarnForm& form) = 0;
    /// Shows a form, with the change handlers of the controls suppressed; a control that holds the value
    /// already is left alone, so that nobody's typing is disturbed.
    virtual void ShowForm(const ZarnForm& form) = 0;
    virtual void ShowPanel(const InfoPanel& panel) = 0;
    /// What the reader was last seen to hold; comes whenever that has changed, and then after ShowForm.
    virtual void ShowPicture(const clsReaderPicture& picture) = 0;
    virtual void EnableButtons(const ButtonStates& states) = 0;
    /// Step `number` of `count` of the flow that runs; both 0 when none does any more.
    virtual void ShowProgress(int number, int count) = 0;
    /// Of the step that reads the memory image: bytes that have come of all that will.
    virtual void ShowImageProgress(int /*received*/, int /*count*/) {}
    /// `cmdTest`'s caption and the indicator.
    virtual void ShowTest(const std::string& caption, TestIndicator indicator) = 0;
    /// A box with an exclamation icon and an OK button.
    virtual void ShowMessageBox(const std::string& text) = 0;
    /// Something to know that has no place in the message log.
    virtual void ShowNotice(const std::string& text) = 0;
    /// Asks for a file. False when none was chosen.
    virtual bool GetFileName(std::string& name, bool save, const std::string& filter) = 0;
    virtual void FocusLog() = 0;
};
