#include "emulator/drive/FileFields.h"

#include <algorithm>
#include <utility>

namespace cirrus::emulator {

namespace {

// Functions instead of constants: requests may still be answered while the process exits and
// destroys its globals.

FieldNames knownFields() {
    return {"kind",           "id",      "name", "mimeType",      "webViewLink",
            "webContentLink", "parents", "size", "sha256Checksum"};
}

FieldNames defaultFields() {
    return {"kind", "id", "name", "mimeType"};
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

Json everyMember(const DriveFile& file) {
    Json members{{"kind", "drive#file"},
                 {"id", file.id},
                 {"name", file.name},
                 {"mimeType", file.mimeType},
                 {"parents", file.parents}};
    if (file.isFolder()) {
        members["webViewLink"] = "https://drive.google.com/drive/folders/" + file.id;
        return members;
    }
    members["webViewLink"] = "https://drive.google.com/file/d/" + file.id + "/view?usp=drivesdk";
    members["webContentLink"] = "https://drive.google.com/uc?id=" + file.id + "&export=download";
    members["size"] = std::to_string(file.content.size); // Drive writes 64-bit numbers as text
    if (!file.content.sha256.empty()) {
        members["sha256Checksum"] = file.content.sha256;
    }
    return members;
}

} // namespace

std::expected<FieldNames, std::string> parseFields(const std::optional<std::string>& selector) {
    if (!selector) {
        return defaultFields();
    }
    const FieldNames known = knownFields();
    FieldNames fields;
    std::string_view rest = *selector;
    for (bool more = true; more;) {
        const std::size_t comma = rest.find(',');
        const std::string_view name = trimmed(rest.substr(0, comma));
        more = comma != std::string_view::npos;
        rest.remove_prefix(more ? comma + 1 : rest.size());
        if (name == "*") {
            fields = known;
        } else if (known.contains(name)) {
            fields.emplace(name);
        } else {
            return std::unexpected(std::string(name));
        }
    }
    return fields;
}

Json fileResource(const DriveFile& file, const FieldNames& fields) {
    Json selected = Json::object();
    const Json members = everyMember(file);
    for (const auto& [name, value] : members.items()) {
        if (fields.contains(name)) {
            selected[name] = value;
        }
    }
    return selected;
}

Json fileResource(const DriveFile& file) {
    return fileResource(file, defaultFields());
}

} // namespace cirrus::emulator
