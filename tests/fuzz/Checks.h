#pragma once

#include <cstdlib>

#include "Cirrus/records/FileList.h"
#include "Cirrus/records/Permission.h"

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
    const auto again = [](const auto& record) {
        return parseJson(writeJson(record.encode()).value()).value();
    };
    const auto isSame = [&](const auto& record, auto decode) {
        return !record || decode(again(*record)).value() == *record;
    };
    require((isSame(Record::decode(json), Record::decode) && ...));
}

} // namespace cirrus
