#include "window/clsExplanationPane.h"

#include <QBoxLayout>
#include <QEvent>
#include <QTextBrowser>
#include <QToolButton>

#include "flows/Explanations.h"
#include "widgets/Announcement.h"
#include "widgets/clsElidedLabel.h"

clsExplanationPane::clsExplanationPane(QWidget* parent) : QFrame(parent) {
    setObjectName("fraExplanation");
    Announcement::Prepare(*this);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    m_text = new QTextBrowser(this);
    m_text->setObjectName("txtExplanation");
    m_text->setAccessibleName(tr("What the line means"));
    m_text->setOpenLinks(false);
    m_text->setTabChangesFocus(true);
    m_caption = new clsElidedLabel(this);
    m_caption->setObjectName("labExplanation");
    m_caption->setBuddy(m_text);
    QFont bold = font();
    bold.setBold(true);
    m_caption->setFont(bold);
    auto* const hide = new QToolButton(this);
    hide->setObjectName("cmdHideExplanation");
    hide->setText(tr("Hide"));
    hide->setToolTip(tr("Hide this explanation"));
    hide->setFocusPolicy(Qt::TabFocus);
    connect(hide, &QToolButton::clicked, this, &QWidget::hide);
    auto* const head = new QHBoxLayout;
    head->addWidget(m_caption, /*stretch=*/1);
    head->addWidget(hide);
    column->addLayout(head);
    column->addWidget(m_text, /*stretch=*/1);
}

void clsExplanationPane::Explain(const QString& line, const Explanation& explanation) {
    m_caption->setText(line);
    m_explanation = &explanation;
    ShowText();
    Announcement::Say(*this, line + '\n' + m_text->toPlainText());
    show();
}

// What is shown was laid out in the colours and the font of its time.
void clsExplanationPane::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) ShowText();
}

void clsExplanationPane::ShowText() {
    if (m_explanation == nullptr) return;
    QString html = "<p style='margin-top:0'>" + QString(m_explanation->Cause).toHtmlEscaped() +
                   "</p><ol style='margin-left:0'>";
    for (const char* step : m_explanation->Steps)
        if (step != nullptr) html += "<li>" + QString(step).toHtmlEscaped() + "</li>";
    m_text->setHtml(html + "</ol>");
}
