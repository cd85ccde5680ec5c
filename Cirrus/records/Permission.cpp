#include "Cirrus/records/Permission.h"

namespace cirrus {

Result<Permission, DecodingError> Permission::decode(JsonValue json) {
    RecordDecoder decoder(json);
    return decoder.finish(
        Permission{.kind = decoder.text(CodingKeys::kind),
                   .identifier = decoder.text(CodingKeys::identifier),
                   .type = decoder.text(CodingKeys::type),
                   .role = decoder.text(CodingKeys::role),
                   .allowFileDiscovery = decoder.optionalBoolean(CodingKeys::allowFileDiscovery)});
}

JsonValue Permission::encode() const {
    JsonValue::Object object{
        {std::string(keyText(CodingKeys::kind)), kind},
        {std::string(keyText(CodingKeys::identifier)), identifier},
        {std::string(keyText(CodingKeys::type)), type},
        {std::string(keyText(CodingKeys::role)), role},
    };
    if (allowFileDiscovery) {
        object.emplace_back(keyText(CodingKeys::allowFileDiscovery), *allowFileDiscovery);
    }
    return object;
}

} // namespace cirrus
