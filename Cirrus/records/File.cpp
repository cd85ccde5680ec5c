#include "Cirrus/records/File.h"

#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

namespace {

constexpr std::tuple fields(RecordField{File::CodingKeys::identifier, &File::identifier},
                            RecordField{File::CodingKeys::kind, &File::kind},
                            RecordField{File::CodingKeys::name, &File::name},
                            RecordField{File::CodingKeys::mimeType, &File::mimeType},
                            RecordField{File::CodingKeys::webLink, &File::webLink},
                            RecordField{File::CodingKeys::downloadLink, &File::downloadLink});

} // namespace

Result<File, DecodingError> File::decode(const JsonValue& json) {
    return decodeRecord<File>(json, fields);
}

JsonValue File::encode() const {
    return encodeRecord(*this, fields);
}

} // namespace cirrus
