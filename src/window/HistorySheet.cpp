#include "window/HistorySheet.h"

#include <QBuffer>
#include <QPageLayout>
#include <QPdfWriter>
#include <QTextDocument>
#include <utility>
#include <vector>

#include "flows/clsSettingsFile.h"
#include "settings/Differences.h"
#include "window/clsHistoryModel.h"

namespace {

constexpr int resolution = 300;  // dots per inch
constexpr int nameLimit = 180;   // bytes of a file's name, which leaves room for a number and the ending

QString Html(const std::string& utf8) {
    return QString::fromStdString(utf8).toHtmlEscaped().replace('\n', "<br>");
}

QString Row(const QStringList& cells, const char* tag = "td") {
    QString row = "<tr>";
    for (const QString& cell : cells) row += QString("<%1 align=left>%2</%1>").arg(tag, cell);
    return row + "</tr>";
}

QString Table(const QString& rows) {
    return "<table border=1 cellspacing=0 cellpadding=3 width=\"100%\" style=\"border-style:solid;"
           "border-color:#999;border-collapse:collapse\">" +
           rows + "</table>";
}

QString SettingRows(const std::string& text) {
    ZarnInfo record;
    clsSettingsParser parser(record);
    parser.Feed(text);
    parser.End();
    QString rows = Row({QObject::tr("Setting"), QObject::tr("Value")}, "th");
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        rows += Row({Html(item.Name()), Html(item.Value(record))});
    }
    return rows;
}

using Lines = std::vector<std::pair<QString, std::string>>;

Lines LinesOf(const HistoryEvent& event) {
    const QString ended = event.Ended == 0 ? QString() : clsHistoryModel::TimeText(event.Ended);
    std::string port = event.Port;
    if (event.Baud != 0) port += QObject::tr(", %1 baud").arg(event.Baud).toStdString();
    if (!event.Adapter.empty() || !event.AdapterSerial.empty())
        port += QObject::tr(", adapter %1 %2")
                    .arg(QString::fromStdString(event.Adapter), QString::fromStdString(event.AdapterSerial))
                    .simplified()
                    .toStdString();
    return {{QObject::tr("Begun"), clsHistoryModel::TimeText(event.Begun).toStdString()},
            {QObject::tr("Ended"), ended.toStdString()},
            {QObject::tr("Action"), WordOf(event.Action)},
            {QObject::tr("Outcome"), WordOf(event.Outcome)},
            {QObject::tr("Reason"), event.Reason},
            {QObject::tr("Product"), event.Product},
            {QObject::tr("Firmware"), event.Firmware},
            {QObject::tr("Firmware serial number"), event.FirmwareSerial},
            {QObject::tr("Port"), port},
            {QObject::tr("File"), event.Profile},
            {QObject::tr("SHA-256 of the file"), event.ProfileDigest},
            {QObject::tr("By"), event.User + QObject::tr(" on ").toStdString() + event.Host + ", " +
                                    event.Program + " " + event.Version},
            {QObject::tr("Event"), event.Id}};
}

QString Body(const HistoryEvent& event) {
    QString facts;
    for (const auto& [name, value] : LinesOf(event))
        if (!value.empty()) facts += Row({"<b>" + name + "</b>", Html(value)});
    QString body = "<h1>" + (event.Label.empty() ? QObject::tr("Card reader") : Html(event.Label)) + "</h1>" +
                   Table(facts);
    if (!event.Changes.empty()) {
        QString rows = Row(
            {QObject::tr("Setting"), QObject::tr("Before"), QObject::tr("Written"), QObject::tr("Result")},
            "th");
        for (const HistoryChange& change : event.Changes) {
            const QString kept = !change.Kept   ? QObject::tr("not proven")
                                 : *change.Kept ? QObject::tr("kept")
                                                : QObject::tr("there was %1").arg(Html(change.After));
            rows += Row({Html(change.Setting), Html(change.Before), Html(change.Wanted), kept});
        }
        body += "<h2>" + QObject::tr("Changes") + "</h2>" + Table(rows);
    }
    const bool behind = !event.After.Settings.empty();
    const std::string& settings = behind ? event.After.Settings : event.Before.Settings;
    if (settings.empty())
        return body + "<p>" + QObject::tr("The settings were not read in this event.") + "</p>";
    return body + "<h2>" + (behind ? QObject::tr("Settings") : QObject::tr("Settings before")) + "</h2>" +
           Table(SettingRows(settings));
}

}  // namespace

namespace HistorySheet {

QByteArray Pdf(const HistoryEvent& event) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setTitle(QString::fromStdString(event.Label.empty() ? event.Id : event.Label));
    writer.setCreator(QString("zarn74 ") + ZARN74_VERSION);
    writer.setResolution(resolution);
    // The document makes margins by itself.
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF()));
    QTextDocument document;
    document.setDefaultStyleSheet(
        "body, td, th { color: #000; font-size: 9pt } h1 { font-size: 17pt } "
        "h2 { font-size: 12pt; margin-top: 10px }");
    document.setHtml("<body>" + Body(event) + "</body>");
    document.print(&writer);
    return buffer.data();
}

QString FileName(const HistoryEvent& event) {
    QString name = QString::fromStdString(event.Label).simplified();
    for (QChar& c : name)
        if (c.category() == QChar::Other_Control || QString("/\\:*?\"<>|").contains(c)) c = '_';
    while (name.startsWith('.') || name.startsWith(' ')) name.remove(0, 1);
    while (name.toUtf8().size() > nameLimit) name.chop(name.back().isLowSurrogate() ? 2 : 1);
    while (name.endsWith('.') || name.endsWith(' ')) name.chop(1);
    return name.isEmpty() ? QObject::tr("Event %1").arg(QString::fromStdString(event.Id.substr(0, 8))) : name;
}

QString Summary(const HistoryEvent& event) {
    QStringList lines;
    for (const auto& [name, value] : LinesOf(event))
        if (!value.empty() && value != event.ProfileDigest)
            lines += name + ": " + QString::fromStdString(value).simplified();
    return lines.join('\n');
}

}  // namespace HistorySheet
