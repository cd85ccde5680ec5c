#pragma once

#include <cstdlib>

#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/records/FileList.h"
#include "Cirrus/records/Permission.h"
#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

/// Ends the process, which is how the fuzzer hears of a finding.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// Whatever record `json` is can be written and read again.
template <class... Record>
void tryRecords(const JsonValue& json) {
    const auto isSame = [](const auto& record, auto decode) {
        if (!record) {
            return true;
        }
        const auto written = encodeRecord(*record);
        return encodeRecord(decode(parseJson(writeJson(written).value()).value()).value()) ==
               written;
    };
    require((isSame(decodeRecord<Record>(json), decodeRecord<Record>) && ...));
}

} // namespace cirrus
