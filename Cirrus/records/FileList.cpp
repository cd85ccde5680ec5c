#include "Cirrus/records/FileList.h"

namespace cirrus {

Result<FileList, DecodingError> FileList::decode(JsonValue json) {
    RecordDecoder decoder(json);
    return decoder.finish(
        FileList{.kind = decoder.text(CodingKeys::kind),
                 .incompleteSearch = decoder.boolean(CodingKeys::incompleteSearch),
                 .files = decoder.list<File>(CodingKeys::files)});
}

JsonValue FileList::encode() const {
    JsonValue::Array elements;
    for (const auto& file : files) {
        elements.push_back(file.encode());
    }
    return JsonValue::Object{
        {std::string(keyText(CodingKeys::kind)), kind},
        {std::string(keyText(CodingKeys::incompleteSearch)), incompleteSearch},
        {std::string(keyText(CodingKeys::files)), std::move(elements)},
    };
}

} // namespace cirrus
