#include "settings/RegisterImage.h"

#include <algorithm>
#include <string>

#include "frame/OrvNetFrame.h"
#include "settings/Differences.h"

namespace {

std::size_t At(int number) { return static_cast<std::size_t>(number); }

template <std::size_t Size>
std::array<std::uint8_t, Size> Run(const RegisterImage& image, int first) {
    std::array<std::uint8_t, Size> bytes{};
    std::copy_n(image.begin() + first, Size, bytes.begin());
    return bytes;
}

std::string TextAt(const RegisterImage& image, int first) {
    const auto bytes = Run<ZarnRegisterMap::keyStringSize>(image, first);
    return ZarnRegisterMap::StoredKeyString(ZarnRegisterMap::DecodeKeyString(bytes));
}

// As it is sent: to its first 00 or FF.
void PutText(RegisterImage& image, int first, std::string_view text) {
    const auto bytes = ZarnRegisterMap::EncodeKeyString(text);
    auto end = std::find_if(bytes.begin(), bytes.end(), OrvNetFrame::EndsRun);
    if (end != bytes.end()) ++end;
    std::copy(bytes.begin(), end, image.begin() + first);
}

struct FieldDecoder {
    const RegisterImage& Image;
    int Register;
    ZarnInfo& Record;

    void operator()(const TextField& field) const { Record.*field.Member = TextAt(Image, Register); }
    void operator()(const NumberField& field) const {
        Record.*field.Member = ZarnRegisterMap::DecodeNumber(field.Code, Image[At(Register)]);
    }
    void operator()(const FlagField& field) const {
        Record.*field.Member = ZarnRegisterMap::DecodeFlag(field.Code, Image[At(Register)]);
    }
};

struct FieldEncoder {
    RegisterImage& Image;
    int Register;
    const ZarnInfo& Record;

    void operator()(const TextField& field) const { PutText(Image, Register, Record.*field.Member); }
    void operator()(const NumberField& field) const {
        std::uint8_t& byte = Image[At(Register)];
        byte = ZarnRegisterMap::EncodeNumber(field.Code, Record.*field.Member, byte).value_or(byte);
    }
    void operator()(const FlagField& field) const {
        Image[At(Register)] = ZarnRegisterMap::EncodeFlag(field.Code, Record.*field.Member);
    }
};

void PutFilter(RegisterImage& image, int index, const CardFilterRange& filter) {
    const int first = ZarnRegisterMap::FilterRegister(index);
    const auto start = ZarnRegisterMap::EncodeNumber(NumberCode::Raw, filter.Start, /*former=*/0);
    const auto length = ZarnRegisterMap::EncodeNumber(NumberCode::Raw, filter.Length, /*former=*/0);
    if (!start || !length) return;
    image[At(first)] = *start;
    image[At(first + 1)] = *length;
}

void PutEntry(RegisterImage& image, int index, const CardConvertEntry& entry) {
    const auto bytes = ZarnRegisterMap::EncodeEntry(entry);
    if (!bytes) return;
    std::copy(bytes->begin(), bytes->end(), image.begin() + ZarnRegisterMap::EntryRegister(index));
    PutText(image, ZarnRegisterMap::EntryTextRegister(index), entry.OutputText);
}

}  // namespace

ZarnInfo RecordOf(const RegisterImage& image) {
    ZarnInfo record;
    for (const SettingRow& row : settingTable)
        std::visit(FieldDecoder{image, row.Register, record}, row.Field);
    for (int i = 0; i < cardFilterCount; ++i) {
        const int first = ZarnRegisterMap::FilterRegister(i);
        CardFilterRange& filter = record.CardFilter.at(At(i));
        filter = {image[At(first)], image[At(first + 1)]};
        ZarnRegisterMap::CorrectFilter(i, filter);
    }
    for (int i = 0; i < convertCount; ++i) {
        const auto bytes = Run<ZarnRegisterMap::entrySize>(image, ZarnRegisterMap::EntryRegister(i));
        record.Convert.at(At(i)) =
            ZarnRegisterMap::DecodeEntry(bytes, TextAt(image, ZarnRegisterMap::EntryTextRegister(i)));
    }
    return record;
}

RegisterImage LaidOver(const RegisterImage& image, const ZarnInfo& wanted) {
    const ZarnInfo held = AsStored(RecordOf(image));
    const ZarnInfo stored = AsStored(wanted);
    RegisterImage laid = image;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        if (item.Same(held, stored)) continue;
        switch (item.Kind()) {
            case ItemKind::Setting: {
                const SettingRow& row = RowOf(item.Id());
                std::visit(FieldEncoder{laid, row.Register, stored}, row.Field);
                break;
            }
            case ItemKind::Filter:
                PutFilter(laid, item.Index(), stored.CardFilter.at(At(item.Index())));
                break;
            case ItemKind::Entry: PutEntry(laid, item.Index(), stored.Convert.at(At(item.Index()))); break;
        }
    }
    return laid;
}

std::optional<RegisterImage> ImageOf(std::string_view bytes) {
    RegisterImage image{};
    if (bytes.size() != image.size()) return std::nullopt;
    std::copy(bytes.begin(), bytes.end(), image.begin());
    return image;
}
