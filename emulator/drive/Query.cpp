#include "emulator/drive/Query.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>
#include <vector>

namespace cirrus::emulator {

std::optional<FileFilter> parseQuery(const std::string& text) {
    std::vector<std::pair<std::string DriveFile::*, std::string>> wanted;
    std::istringstream rest(text);
    std::string joint;
    do {
        std::string field;
        std::string equals;
        std::string value;
        rest >> field >> equals >> std::ws;
        if ((field != "name" && field != "mimeType") || equals != "=" || rest.peek() != '\'' ||
            !(rest >> std::quoted(value, '\''))) {
            return std::nullopt;
        }
        wanted.emplace_back(field == "name" ? &DriveFile::name : &DriveFile::mimeType, value);
        joint.clear();
        rest >> joint;
    } while (joint == "and");
    if (!joint.empty()) {
        return std::nullopt;
    }
    return [wanted = std::move(wanted)](const DriveFile& file) {
        return std::ranges::all_of(
            wanted, [&](const auto& term) { return file.*term.first == term.second; });
    };
}

} // namespace cirrus::emulator
