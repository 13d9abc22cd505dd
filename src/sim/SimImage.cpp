#include "sim/SimImage.h"

#include <algorithm>

std::string LoadSimImage(clsIFiles& files, const std::string& name, clsSimReader& reader) {
    const auto file = files.OpenFile(name);
    const auto bytes = file ? file->ReadUpTo(clsSimReader::registerCount + 1) : std::nullopt;
    if (!bytes) return "cannot read the memory image " + name + ": " + files.LastError();
    const std::size_t count = bytes->size();
    if (count != clsSimReader::registerCount) {
        const std::string size = count > clsSimReader::registerCount ? "more" : std::to_string(count);
        return "a memory image has 512 bytes, " + name + " has " + size;
    }
    std::copy_n(bytes->begin(), clsSimReader::registerCount, reader.Registers.begin());
    reader.PowerUp();
    return {};
}

bool SaveSimImage(clsIFiles& files, const std::string& name, const clsSimReader& reader) {
    return files.ReplaceFile(name, std::string(reader.Registers.begin(), reader.Registers.end()));
}
