#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <array>
#include <functional>

#include "flows/ZarnForm.h"
#include "flows/clsReaderPicture.h"

/// What the controls show against what the reader was last seen to hold, for all that shows differences: the
/// marks, the status bar, the list of changes. Made anew once a turn of the loop, however much was edited in
/// it. Owned by the window.
class clsComparison : public QObject {
    Q_OBJECT

  public:
    /// `picture` outlives this. `form` fills one from the controls; it is called from the loop only.
    clsComparison(const clsReaderPicture& picture, std::function<void(ZarnForm&)> form, QObject* parent);

    /// The controls or the picture have changed.
    void Outdate();
    /// Compares at once, when that is still to be done.
    void Update();

    [[nodiscard]] const clsReaderPicture& Picture() const { return m_picture; }
    [[nodiscard]] Sight Of(const SettingItem& item) const { return m_sights.at(item.Place()); }
    /// What the controls would make of the reader, as it would give it back.
    [[nodiscard]] const ZarnInfo& Here() const { return m_here; }

    /// "14:03"
    [[nodiscard]] QString ReadAt() const;
    /// Values for people: the reader's, empty when nobody knows it, and the controls'.
    [[nodiscard]] QString InReader(const SettingItem& item) const;
    [[nodiscard]] QString InControls(const SettingItem& item) const;
    /// "in the reader (read 14:03): Germany", or that it was written there; empty for what is the same or not
    /// known.
    [[nodiscard]] QString Told(const SettingItem& item) const;
    /// "3 changes not written, 1 written, not read back"; empty when all is as it was read.
    [[nodiscard]] QString Summary() const;

  signals:
    /// There is something else to be shown.
    void Changed();

  private:
    const clsReaderPicture& m_picture;
    const std::function<void(ZarnForm&)> m_form;
    QTimer m_timer;
    ZarnInfo m_here;
    std::array<Sight, itemCount> m_sights{};
};
