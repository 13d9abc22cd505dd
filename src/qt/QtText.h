#pragma once

#include <QString>
#include <string>
#include <string_view>

/// The one place where texts of the core (bytes, one character per byte) and Qt's meet.
namespace QtText {

constexpr char16_t lastByte = 0xFF;  ///< the last character that a byte holds

inline QString ToQString(std::string_view text) {
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}
/// A character above U+00FF, which no byte can hold, becomes "?".
inline std::string ToBytes(const QString& text) { return text.toLatin1().toStdString(); }

}  // namespace QtText
