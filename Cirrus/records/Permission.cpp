#include "Cirrus/records/Permission.h"

#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

namespace {

constexpr std::tuple fields(RecordField{Permission::CodingKeys::kind, &Permission::kind},
                            RecordField{Permission::CodingKeys::identifier,
                                        &Permission::identifier},
                            RecordField{Permission::CodingKeys::type, &Permission::type},
                            RecordField{Permission::CodingKeys::role, &Permission::role},
                            RecordField{Permission::CodingKeys::allowFileDiscovery,
                                        &Permission::allowFileDiscovery});

} // namespace

Result<Permission, DecodingError> Permission::decode(const JsonValue& json) {
    return decodeRecord<Permission>(json, fields);
}

JsonValue Permission::encode() const {
    return encodeRecord(*this, fields);
}

} // namespace cirrus
