#pragma once

#include "flows/modKeyboard.h"

/// The keyboard of the desktop. Built by main.
class clsKeyState final : public clsIKeyState {
  public:
    [[nodiscard]] bool ShiftPressed(bool asynchronous) const override;
    /// By the keyboards' lights: the desktop's own state is not told to programs. False where there are none.
    [[nodiscard]] bool CapsLockOn() const override;
};
