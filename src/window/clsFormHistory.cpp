#include "window/clsFormHistory.h"

#include <QAction>
#include <QApplication>
#include <QUndoCommand>
#include <QWidget>
#include <algorithm>

#include "base/clsScopeGuard.h"
#include "qt/QtText.h"

namespace {

using Items = std::vector<SettingItem>;

constexpr int nameLength = 40;  // characters of a step's name in the menu
constexpr std::size_t noItem = itemCount;

/// The first entry stands for all rows of the table: one edit moves many of them.
constexpr std::size_t tablePlace = settingCount + cardFilterCount;

bool Same(const SettingItem& item, const ZarnForm& a, const ZarnForm& b) {
    if (item.Kind() == ItemKind::Entry) return a.Table.Rows == b.Table.Rows;
    if (item.Kind() == ItemKind::Setting) {
        const auto at = static_cast<std::size_t>(item.Id());
        if (a.NoSelection.at(at) || b.NoSelection.at(at)) return a.NoSelection.at(at) == b.NoSelection.at(at);
    }
    return item.Same(a.Record, b.Record);
}

Items Changed(const ZarnForm& a, const ZarnForm& b) {
    Items items;
    for (std::size_t place = 0; place <= tablePlace; ++place) {
        if (const SettingItem item(place); !Same(item, a, b)) items.push_back(item);
    }
    return items;
}

bool HasRun(const SettingItem& item) {
    return item.Kind() == ItemKind::Filter ||
           (item.Kind() == ItemKind::Setting && std::holds_alternative<TextField>(RowOf(item.Id()).Field));
}

QString TableName(const std::vector<ConvertRow>& before, const std::vector<ConvertRow>& after) {
    if (after.size() == before.size() + 1) return clsFormHistory::tr("Add row");
    if (after.size() + 1 == before.size()) return clsFormHistory::tr("Remove row");
    const bool sameTexts =
        std::equal(before.begin(), before.end(), after.begin(), after.end(),
                   [](const ConvertRow& a, const ConvertRow& b) { return a.Text == b.Text; });
    if (sameTexts) return clsFormHistory::tr("Row mark");
    return after.size() == before.size() ? clsFormHistory::tr("Modify row") : clsFormHistory::tr("Table");
}

QString EditName(const Items& items, const ZarnForm& before, const ZarnForm& after) {
    if (items.size() != 1) return clsFormHistory::tr("%1 settings").arg(items.size());
    if (items.front().Kind() == ItemKind::Entry) return TableName(before.Table.Rows, after.Table.Rows);
    return QtText::ToQString(items.front().Name());
}

/// The table with other rows. The selected one stays selected, wherever it stands then.
void ReplaceRows(clsConvertTable& shown, const std::vector<ConvertRow>& rows) {
    if (shown.SelectedRow != clsConvertTable::none && rows.size() != shown.Rows.size()) {
        const auto at =
            std::find(rows.begin(), rows.end(), shown.Rows.at(static_cast<std::size_t>(shown.SelectedRow)));
        shown.SelectedRow = at == rows.end() ? clsConvertTable::none : static_cast<int>(at - rows.begin());
    }
    shown.Rows = rows;
}

void Copy(const SettingItem& item, const ZarnForm& from, ZarnForm& to) {
    if (item.Kind() == ItemKind::Entry) return ReplaceRows(to.Table, from.Table.Rows);
    item.Copy(from.Record, to.Record);
    if (item.Kind() == ItemKind::Filter) return;
    const auto at = static_cast<std::size_t>(item.Id());
    to.NoSelection.at(at) = from.NoSelection.at(at);
}

/// Digits are seen on their own page only.
void TurnToDigits(const Items& items, ZarnForm& form) {
    const auto elsewhere = [&form](const SettingItem& item) {
        return item.Kind() == ItemKind::Filter && item.Index() / ZarnForm::boxCount != form.Page;
    };
    if (std::all_of(items.begin(), items.end(), elsewhere))
        form.Page = items.front().Index() / ZarnForm::boxCount;
}

}  // namespace

class clsFormHistory::clsStep final : public QUndoCommand {
  public:
    clsStep(clsFormHistory& history, ZarnForm before, ZarnForm after, int run)
        : m_history(history), m_before(std::move(before)), m_after(std::move(after)), m_run(run) {}

    [[nodiscard]] int id() const override { return m_run; }
    bool mergeWith(const QUndoCommand* next) override {
        m_after = static_cast<const clsStep*>(next)->m_after;
        setObsolete(Changed(m_before, m_after).empty());
        return true;
    }
    void undo() override { m_history.Show(m_after, m_before); }
    void redo() override {
        if (m_done) m_history.Show(m_before, m_after);
        m_done = true;  // the stack redoes what it is given
    }

  private:
    clsFormHistory& m_history;
    const ZarnForm m_before;
    ZarnForm m_after;
    const int m_run;  // -1: merged with no other
    bool m_done = false;
};

clsFormHistory::clsFormHistory(clsIMainView& view, QAction& undo, QAction& redo)
    : m_view(view), m_undo(undo), m_redo(redo), m_runItem(noItem) {
    m_stack.setUndoLimit(stepLimit);
    connect(&m_undo, &QAction::triggered, &m_stack, &QUndoStack::undo);
    connect(&m_redo, &QAction::triggered, &m_stack, &QUndoStack::redo);
    connect(&m_stack, &QUndoStack::indexChanged, this, &clsFormHistory::TellActions);
    connect(qApp, &QApplication::focusChanged, this, [this] { m_runItem = noItem; });
    Clear();
}

void clsFormHistory::Clear() {
    m_stack.clear();
    m_runItem = noItem;
    m_view.ReadForm(m_recorded);
    TellActions();
}

void clsFormHistory::Record() {
    if (!m_inFlow && !m_showing) Push({});
}

/// An edit has the name of what it changed.
void clsFormHistory::Push(const QString& name) {
    ZarnForm now;
    m_view.ReadForm(now);
    const Items items = Changed(m_recorded, now);
    if (items.empty()) return;
    const bool runs = name.isEmpty() && items.size() == 1 && HasRun(items.front());
    if (const std::size_t runItem = runs ? items.front().Place() : noItem; runItem != m_runItem) {
        m_runItem = runItem;
        ++m_run;
    }
    auto* const step = new clsStep(*this, m_recorded, now, runs ? m_run : -1);
    step->setText(name.isEmpty() ? EditName(items, m_recorded, now) : name);
    m_recorded = now;
    m_stack.push(step);
}

void clsFormHistory::BeginFlow(const QString& name) {
    m_inFlow = true;
    m_flowName = name;
    TellActions();
}

void clsFormHistory::EndFlow() {
    m_inFlow = false;
    Push(m_flowName);
    TellActions();
}

void clsFormHistory::SetIdle(bool idle) {
    m_idle = idle;
    TellActions();
}

void clsFormHistory::Show(const ZarnForm& from, const ZarnForm& to) {
    const Items items = Changed(from, to);
    m_runItem = noItem;
    m_showing = true;
    const clsScopeGuard shown([this] { m_showing = false; });
    ZarnForm form;
    m_view.ReadForm(form);
    for (const SettingItem& item : items) Copy(item, to, form);
    TurnToDigits(items, form);
    m_view.ShowForm(form);
    // Of an entry that today's firmware does not offer no trace is left.
    m_view.ReadForm(m_recorded);
    emit Shown(items);
}

void clsFormHistory::TellActions() {
    const auto tell = [this](QAction& action, const QString& text, const QString& name, bool can) {
        QString shown = name.simplified();
        if (shown.size() > nameLength) shown = shown.left(nameLength - 1) + QChar(0x2026);
        action.setText(shown.isEmpty() ? text : text + ' ' + shown.replace('&', "&&"));
        action.setEnabled(m_idle && !m_inFlow && can);
    };
    tell(m_undo, tr("&Undo"), m_stack.undoText(), m_stack.canUndo());
    tell(m_redo, tr("&Redo"), m_stack.redoText(), m_stack.canRedo());
}
