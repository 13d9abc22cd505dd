#include "sim/SimImage.h"

#include <algorithm>
#include <array>

std::string LoadSimImage(clsIFiles& files, const std::string& name, clsSimReader& reader) {
    const auto file = files.OpenFile(name);
    if (file == nullptr) return "cannot read the memory image " + name;
    std::array<char, clsSimReader::registerCount + 1> bytes{};
    std::size_t count = 0;
    while (count < bytes.size()) {
        const std::size_t more = file->Read(bytes.data() + count, bytes.size() - count);
        if (more == 0) break;
        count += more;
    }
    if (count != clsSimReader::registerCount) {
        const std::string size = count > clsSimReader::registerCount ? "more" : std::to_string(count);
        return "a memory image has 512 bytes, " + name + " has " + size;
    }
    std::copy_n(bytes.begin(), clsSimReader::registerCount, reader.Registers.begin());
    reader.PowerUp();
    return {};
}

bool SaveSimImage(clsIFiles& files, const std::string& name, const clsSimReader& reader) {
    return files.ReplaceFile(name, std::string(reader.Registers.begin(), reader.Registers.end()));
}
