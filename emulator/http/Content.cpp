#include "emulator/http/ContentReader.h"

#include <utility>

namespace cirrus::emulator {

const std::string& Content::bytes() const {
    // Never destroyed: requests may still be answered while the process exits.
    static const std::string& none = *new std::string();
    return kept ? *kept : none;
}

void ContentReader::append(std::string_view chunk) {
    size_ += chunk.size();
    if (policy_ == ContentPolicy::keep) {
        bytes_ += chunk;
    }
    if (policy_ != ContentPolicy::discard) {
        digest_.update(chunk);
    }
}

Content ContentReader::finish() {
    Content content{.size = size_, .sha256 = {}, .kept = nullptr};
    if (policy_ == ContentPolicy::keep) {
        content.kept = std::make_shared<const std::string>(std::move(bytes_));
    }
    if (policy_ != ContentPolicy::discard) {
        content.sha256 = digest_.finish();
    }
    return content;
}

Content contentOf(std::string_view bytes) {
    ContentReader reader(ContentPolicy::keep);
    reader.append(bytes);
    return reader.finish();
}

} // namespace cirrus::emulator
