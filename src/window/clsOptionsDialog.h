#pragma once

#include <QDialog>
#include <cstdint>
#include <string>

class QCheckBox;
class QSpinBox;

/// What a person can choose of the program's ways. A value goes in, and is asked for when the dialog was
/// accepted.
class clsOptionsDialog : public QDialog {
    Q_OBJECT

  public:
    struct Options {
        bool ReadBack = false;
        bool Sound = true;  ///< the station beeps
        bool KeepHistory = true;
        int HistoryDays = 0;  ///< 0: for ever
    };
    /// Where the history is and what it takes; without a place it cannot be chosen, and `WhyNone` says why.
    struct HistoryState {
        std::string Place;
        std::int64_t Size = 0;  ///< bytes
        QString WhyNone;
        bool Always = false;  ///< it is kept whatever is chosen
    };

    clsOptionsDialog(const Options& options, const HistoryState& history, QWidget* parent);
    [[nodiscard]] Options Chosen() const;

  private:
    QWidget* MakeHistory(const Options& options, const HistoryState& history);

    QCheckBox* m_readBack = nullptr;
    QCheckBox* m_sound = nullptr;
    QCheckBox* m_keep = nullptr;
    QSpinBox* m_days = nullptr;
};
