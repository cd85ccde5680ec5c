#include "emulator/FileFields.h"

#include <algorithm>
#include <utility>

namespace cirrus::emulator {

namespace {

// Made anew by each call: a request may still be answered while the process ends.

FieldNames knownFields() {
    return {"kind",           "id",      "name", "mimeType",      "webViewLink",
            "webContentLink", "parents", "size", "sha256Checksum"};
}

FieldNames unaskedFields() {
    return {"kind", "id", "name", "mimeType"};
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

JsonValue::Object everyMember(const File& file) {
    JsonValue::Array parents(file.parents.begin(), file.parents.end());
    JsonValue::Object members{{"kind", "drive#file"},
                              {"id", file.id},
                              {"name", file.name},
                              {"mimeType", file.mimeType},
                              {"parents", std::move(parents)}};
    if (file.isFolder()) {
        members.emplace_back("webViewLink", "https://drive.google.com/drive/folders/" + file.id);
        return members;
    }
    members.emplace_back("webViewLink",
                         "https://drive.google.com/file/d/" + file.id + "/view?usp=drivesdk");
    members.emplace_back("webContentLink",
                         "https://drive.google.com/uc?id=" + file.id + "&export=download");
    members.emplace_back("size",
                         std::to_string(file.content.size)); // Drive writes 64-bit numbers as text
    if (!file.content.sha256.empty()) {
        members.emplace_back("sha256Checksum", file.content.sha256);
    }
    return members;
}

} // namespace

std::expected<FieldNames, InvalidField> parseFields(const std::optional<std::string>& selector) {
    if (!selector) {
        return unaskedFields();
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
            return std::unexpected(InvalidField{std::string(name)});
        }
    }
    return fields;
}

JsonValue fileResource(const File& file, const FieldNames& fields) {
    JsonValue::Object members = everyMember(file);
    std::erase_if(members, [&](const auto& member) { return !fields.contains(member.first); });
    return members;
}

JsonValue fileResource(const File& file) {
    return fileResource(file, unaskedFields());
}

} // namespace cirrus::emulator
