#include "Cirrus/records/File.h"

namespace cirrus {

Result<File, DecodingError> File::decode(JsonValue json) {
    RecordDecoder decoder(json);
    return decoder.finish(File{.identifier = decoder.text(CodingKeys::identifier),
                               .kind = decoder.text(CodingKeys::kind),
                               .name = decoder.text(CodingKeys::name),
                               .mimeType = decoder.text(CodingKeys::mimeType),
                               .webLink = decoder.optionalUrl(CodingKeys::webLink),
                               .downloadLink = decoder.optionalUrl(CodingKeys::downloadLink)});
}

JsonValue File::encode() const {
    JsonValue::Object object;
    const auto put = [&object](CodingKeys key, const std::string& text) {
        object.emplace_back(keyText(key), text);
    };
    put(CodingKeys::identifier, identifier);
    put(CodingKeys::kind, kind);
    put(CodingKeys::name, name);
    put(CodingKeys::mimeType, mimeType);
    if (webLink) {
        put(CodingKeys::webLink, webLink->text());
    }
    if (downloadLink) {
        put(CodingKeys::downloadLink, downloadLink->text());
    }
    return object;
}

} // namespace cirrus
