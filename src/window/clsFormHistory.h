#pragma once

#include <QObject>
#include <QString>
#include <QUndoStack>
#include <vector>

#include "flows/clsIMainView.h"
#include "settings/Differences.h"

class QAction;

/// What was done to the settings on the pages, as steps that are undone and redone by the two actions. Owns
/// the steps, and keeps the actions' texts and whether they can be triggered. The window tells it whenever a
/// control may show something else; an edit is a step of its own, but what is typed into one text box or
/// moved in one digit box is one as long as the focus stays, and all that a flow over the pages did is one. A
/// step is shown on the form as it is then: what is no setting of a reader stays, and so do the firmware's
/// rules. Nothing here calls a flow.
class clsFormHistory : public QObject {
    Q_OBJECT

  public:
    static constexpr int stepLimit = 200;

    /// The view has controls. All of them outlive the history.
    clsFormHistory(clsIMainView& view, QAction& undo, QAction& redo);

    /// Forgets all steps: the first one will begin with what the controls hold now.
    void Clear();
    /// Makes a step of what has changed since the last one, if anything has.
    void Record();
    /// Between these two the pages are a flow's. What it changed is one step then, with the name given last.
    void BeginFlow(const QString& name);
    void NameFlow(const QString& name) { m_flowName = name; }
    void EndFlow();
    /// While anything runs nothing is undone.
    void SetIdle(bool idle);

  signals:
    /// A step was undone or redone, and these have changed by it: settings, digit filters, and the first
    /// entry for the whole table.
    void Shown(const std::vector<SettingItem>& items);

  private:
    class clsStep;

    void Push(const QString& name);
    void Show(const ZarnForm& from, const ZarnForm& to);
    void TellActions();

    clsIMainView& m_view;
    QAction& m_undo;
    QAction& m_redo;
    ZarnForm m_recorded;    // what the controls held at the end of the last step
    int m_run = 0;          // steps of one run become one
    std::size_t m_runItem;  // whose run it is: the place of an item, or none
    bool m_idle = true;
    bool m_inFlow = false;
    bool m_showing = false;
    QString m_flowName;
    QUndoStack m_stack;  // last, its steps refer to the rest
};
