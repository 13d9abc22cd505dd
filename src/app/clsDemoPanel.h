#pragma once

#include <QFrame>
#include <vector>

#include "app/clsDemoReader.h"

class QCheckBox;
class QComboBox;
class QPushButton;

/// The strip above the window that says that the reader is simulated, and what can be done to that reader.
/// Made by main for the window, which owns it; the readers outlive it. Its slots run inside flows too: that
/// is what it is for.
class clsDemoPanel : public QFrame {
    Q_OBJECT

  public:
    /// A way in which a simulated reader can be connected.
    struct Connection {
        QString Name;
        clsIDemoReader* Reader = nullptr;
    };
    /// Only the connection `chosen` is plugged in.
    clsDemoPanel(const std::vector<Connection>& connections, int chosen, QWidget* parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override { return {0, QFrame::minimumSizeHint().height()}; }

  signals:
    /// Bytes are to take as long as on a real line, or no time at all.
    void PacedChanged(bool paced);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void Arrange();
    void Color();
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
    bool m_coloring = false;
};
