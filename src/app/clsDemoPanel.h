#pragma once

#include <vector>

#include "app/clsDemoReader.h"
#include "app/clsDemoStrip.h"

class QCheckBox;
class QComboBox;
class QPushButton;

/// The strip above the window that says that the reader is simulated, and what can be done to that reader.
/// Made by main for the window, which owns it; the readers outlive it. Its slots run inside flows too: that
/// is what it is for.
class clsDemoPanel : public clsDemoStrip {
    Q_OBJECT

  public:
    /// A way in which a simulated reader can be connected.
    struct Connection {
        QString Name;
        clsIDemoReader* Reader = nullptr;
    };
    /// Only the connection `chosen` is plugged in.
    clsDemoPanel(const std::vector<Connection>& connections, int chosen, QWidget* parent = nullptr);

  signals:
    /// Bytes are to take as long as on a real line, or no time at all.
    void PacedChanged(bool paced);

  private:
    void Arrange();
    void ApplyPlug();
    void ApplyCard();
    void ApplyFault();
    [[nodiscard]] clsIDemoReader& Reader() const;

    std::vector<Connection> m_connections;
    QComboBox* m_connection;
    QComboBox* m_card;
    QComboBox* m_fault;
    QCheckBox* m_plugged;
    QCheckBox* m_paced;
};
