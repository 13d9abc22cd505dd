#include "window/clsRegisterModel.h"

#include <QTextDocument>
#include <algorithm>
#include <bitset>

#include "base/modText.h"

namespace {

std::size_t At(int number) { return static_cast<std::size_t>(number); }

QString ByteText(std::uint8_t byte) { return QString::fromStdString(modText::Hex(byte, 2)); }

QString MeaningText(int number, const RegisterImage& image) {
    return QString::fromStdString(RegisterMeaning::Meaning(number, image));
}

/// For each register a kind that no other setting has around any of its setting's registers.
std::array<int, registerCount> KindsOf(const std::array<RegisterRole, registerCount>& roles) {
    std::array<int, itemCount> kindOf{};
    kindOf.fill(-1);
    std::array<int, registerCount> kinds{};
    for (int number = 0; number < registerCount; ++number) {
        const auto& item = roles[At(number)].Item;
        if (!item || kindOf.at(item->Place()) >= 0) continue;
        std::bitset<clsRegisterModel::kinds> taken;
        for (int own = 0; own < registerCount; ++own) {
            if (roles[At(own)].Item != item) continue;
            for (int around = 0; around < 9; ++around) {
                const int column = own % clsRegisterModel::columns + around % 3 - 1;
                const int row = own / clsRegisterModel::columns + around / 3 - 1;
                if (column < 0 || column >= clsRegisterModel::columns || row < 0 ||
                    row >= clsRegisterModel::rows)
                    continue;
                const auto& other = roles[At(row * clsRegisterModel::columns + column)].Item;
                const int kind = other ? kindOf.at(other->Place()) : -1;
                if (kind >= 0) taken.set(At(kind));
            }
        }
        int& kind = kindOf.at(item->Place());
        for (kind = 0; kind + 1 < clsRegisterModel::kinds && taken[At(kind)];) ++kind;
    }
    for (int number = 0; number < registerCount; ++number) {
        const auto& item = roles[At(number)].Item;
        kinds[At(number)] = item ? kindOf.at(item->Place()) : -1;
    }
    return kinds;
}

}  // namespace

clsRegisterModel::clsRegisterModel(QObject* parent) : QAbstractTableModel(parent) {
    for (int number = 0; number < registerCount; ++number)
        m_roles[At(number)] = RegisterMeaning::RoleOf(number);
    m_kinds = KindsOf(m_roles);
}

void clsRegisterModel::Show(const clsReaderPicture& picture) {
    m_image.reset();
    if (picture.Image()) m_image = picture.Image()->Bytes;
    for (int number = 0; number < registerCount; ++number) m_sights[At(number)] = picture.Of(number);
    ChangeAll();
}

void clsRegisterModel::Compare(const QString& name, const std::optional<RegisterImage>& other) {
    m_otherName = name;
    m_other = other;
    ChangeAll();
}

// The same cells with other contents: cursor and selection stay.
void clsRegisterModel::ChangeAll() { emit dataChanged(index(0, 0), index(rows - 1, columns - 1)); }

bool clsRegisterModel::Differs(int number) const {
    return m_image && m_other && (*m_image)[At(number)] != (*m_other)[At(number)];
}

int clsRegisterModel::Differences() const {
    int count = 0;
    for (int number = 0; number < registerCount; ++number) count += Differs(number) ? 1 : 0;
    return count;
}

QString clsRegisterModel::OtherText(int number) const {
    if (!m_image || !m_other) return {};
    if (!Differs(number)) return tr("%1: the same").arg(m_otherName);
    const QString meaning = MeaningText(number, *m_other);
    const QString value = ByteText((*m_other)[At(number)]);
    return tr("%1: %2").arg(m_otherName, meaning.isEmpty() ? value : value + ", " + meaning);
}

QString clsRegisterModel::SightText(int number) const {
    switch (m_sights[At(number)]) {
        case RegisterSight::Unknown: return tr("not read");
        case RegisterSight::Written: return tr("its setting was written since");
        case RegisterSight::Old: return tr("as it was read then; nobody knows it now");
        case RegisterSight::Seen: break;
    }
    return {};
}

QStringList clsRegisterModel::Told(int number) const {
    const RegisterRole& role = m_roles[At(number)];
    QString head = tr("Register %1 (%2)").arg(number).arg(RegisterMeaning::Hex(number).c_str());
    if (m_image) head += ": " + ByteText((*m_image)[At(number)]);
    QString place = QString::fromStdString(RegisterMeaning::Place(role));
    if (m_image && role.Item) place += ": " + MeaningText(number, *m_image);
    QStringList lines{head, place};
    if (m_image && role.Item && role.Part != RegisterPart::Whole)
        lines += QString::fromStdString(role.Item->Name() + " = " + role.Item->Value(RecordOf(*m_image)));
    for (const QString& line : {OtherText(number), SightText(number)})
        if (!line.isEmpty()) lines += line;
    return lines;
}

QString clsRegisterModel::Text() const {
    QString text;
    for (int number = 0; m_image && number < registerCount; ++number) {
        text += QString::fromStdString(RegisterMeaning::Line(number, *m_image));
        if (Differs(number)) text += "  | " + OtherText(number);
        if (const QString sight = SightText(number); !sight.isEmpty()) text += "  | " + sight;
        text += '\n';
    }
    return text;
}

int clsRegisterModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : rows; }

int clsRegisterModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columns; }

QVariant clsRegisterModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const int number = NumberOf(index);
    switch (role) {
        case Qt::DisplayRole: return m_image ? ByteText((*m_image)[At(number)]) : QString();
        case Qt::TextAlignmentRole: return Qt::AlignCenter;
        case Qt::ToolTipRole: return Qt::convertFromPlainText(Told(number).join('\n'));
        case Qt::AccessibleTextRole: return Told(number).join("; ");
        case SightRole: return static_cast<int>(m_sights[At(number)]);
        case DiffersRole: return Differs(number);
        case KindRole: return m_kinds[At(number)];
        default: return {};
    }
}

QVariant clsRegisterModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role == Qt::TextAlignmentRole) return Qt::AlignCenter;
    if (role != Qt::DisplayRole) return {};
    const auto number = static_cast<std::uint32_t>(section);
    const std::string text =
        orientation == Qt::Horizontal ? modText::Hex(number) : modText::Hex(number * columns, 3);
    return QString::fromStdString(text);
}
