#include "qt/EventBytes.h"

#include <QDataStream>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QtEndian>
#include <algorithm>
#include <cstddef>

namespace {

constexpr int densest = 9;
constexpr int headLength = 4;  // bytes; the unpacked length
constexpr const char* leftOut = "...\n";

QByteArray Bytes(const std::string& text) { return QByteArray::fromStdString(text); }

QJsonValue Json(const std::string& text) { return QString::fromStdString(text); }

QByteArray ChangesJson(const std::vector<HistoryChange>& changes) {
    QJsonArray array;
    for (const HistoryChange& change : changes) {
        const bool read = change.Kept.has_value();
        array.append(QJsonObject{{"setting", Json(change.Setting)},
                                 {"registers", Json(change.Registers)},
                                 {"before", Json(change.Before)},
                                 {"wanted", Json(change.Wanted)},
                                 {"after", read ? Json(change.After) : QJsonValue()},
                                 {"kept", read ? QJsonValue(*change.Kept) : QJsonValue()}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::vector<HistoryChange> ChangesOf(const QByteArray& json) {
    std::vector<HistoryChange> changes;
    for (const QJsonValue value : QJsonDocument::fromJson(json).array()) {
        const auto text = [&](const char* key) { return value[QLatin1String(key)].toString().toStdString(); };
        HistoryChange& change = changes.emplace_back();
        change = {text("setting"), text("registers"), text("before"), text("wanted"), text("after"), {}};
        if (const QJsonValue kept = value[QLatin1String("kept")]; kept.isBool()) change.Kept = kept.toBool();
    }
    return changes;
}

QByteArray Plain(const HistoryEvent& event, const std::string& lines) {
    QByteArray plain;
    QDataStream stream(&plain, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    for (const HistorySide* side : {&event.Before, &event.After})
        stream << Bytes(side->Settings) << Bytes(side->Image);
    stream << ChangesJson(event.Changes) << Bytes(lines);
    return plain;
}

// Half as many lines, of its beginning and its end.
std::string Halved(const std::string& lines) {
    const auto count = std::count(lines.begin(), lines.end(), '\n');
    const auto behind = [&lines](std::ptrdiff_t number) {
        std::size_t at = 0;
        while (number-- > 0) at = lines.find('\n', at) + 1;
        return at;
    };
    if (count < 4) return {};
    return lines.substr(0, behind(count / 4)) + leftOut + lines.substr(behind(count - count / 4));
}

}  // namespace

namespace EventBytes {

QByteArray Pack(const HistoryEvent& event) {
    std::string lines = event.Lines;
    while (true) {
        const QByteArray plain = Plain(event, lines);
        QByteArray packed = qCompress(plain, densest);
        if (lines.empty() || (packed.size() <= limit && plain.size() <= mostPlain)) return packed;
        lines = Halved(lines);
    }
}

bool Unpack(const QByteArray& bytes, HistoryEvent& event) {
    // What it says of its length binds nothing: a packed byte becomes a thousand at most.
    if (bytes.size() < headLength || bytes.size() > mostPacked) return false;
    const auto length = qFromBigEndian<quint32>(bytes.constData());
    if (length > mostPlain) return false;
    const QByteArray plain = qUncompress(bytes);
    if (plain.size() != static_cast<qsizetype>(length)) return false;
    QDataStream stream(plain);
    stream.setVersion(QDataStream::Qt_6_0);
    QByteArray parts[6];
    for (QByteArray& part : parts) stream >> part;
    if (stream.status() != QDataStream::Ok || !stream.atEnd()) return false;
    event.Before = {parts[0].toStdString(), parts[1].toStdString()};
    event.After = {parts[2].toStdString(), parts[3].toStdString()};
    event.Changes = ChangesOf(parts[4]);
    event.Lines = parts[5].toStdString();
    return true;
}

}  // namespace EventBytes
