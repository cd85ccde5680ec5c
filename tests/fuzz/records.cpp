/// Any text as JSON and as each record: what can be read can be written and read again.
#include "Cirrus/records/ServiceError.h"
#include "tests/fuzz/Checks.h"

using namespace cirrus;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const auto repaired = repairedUtf8(text);
    require(isUtf8(repaired) && isUtf8(text) == (repaired == text));
    if (const auto json = parseJson(text)) {
        require(parseJson(writeJson(*json).value()).value() == *json);
        tryRecords<File, FileList, Permission>(*json);
        static_cast<void>(ServiceError::decode(*json));
    }
    return 0;
}
