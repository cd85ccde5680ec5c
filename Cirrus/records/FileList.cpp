#include "Cirrus/records/FileList.h"

#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

namespace {

constexpr std::tuple fields(RecordField{FileList::CodingKeys::kind, &FileList::kind},
                            RecordField{FileList::CodingKeys::incompleteSearch,
                                        &FileList::incompleteSearch},
                            RecordField{FileList::CodingKeys::files, &FileList::files});

} // namespace

Result<FileList, DecodingError> FileList::decode(const JsonValue& json) {
    return decodeRecord<FileList>(json, fields);
}

JsonValue FileList::encode() const {
    return encodeRecord(*this, fields);
}

} // namespace cirrus
