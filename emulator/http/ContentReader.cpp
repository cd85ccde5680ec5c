#include "emulator/http/ContentReader.h"

#include <array>
#include <iterator>
#include <utility>

#include <boost/algorithm/hex.hpp>
#include <openssl/evp.h>

namespace cirrus::emulator {

const std::string& Content::bytes() const {
    // Never destroyed: requests may still be answered while the process exits.
    static const std::string& none = *new std::string();
    return kept ? *kept : none;
}

ContentReader::ContentReader(ContentPolicy policy)
    : policy_(policy), digest_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    EVP_DigestInit_ex(digest_.get(), EVP_sha256(), nullptr);
}

void ContentReader::append(std::string_view chunk) {
    size_ += chunk.size();
    if (policy_ == ContentPolicy::keep) {
        bytes_ += chunk;
    }
    if (policy_ != ContentPolicy::discard) {
        EVP_DigestUpdate(digest_.get(), chunk.data(), chunk.size());
    }
}

Content ContentReader::finish() {
    Content content{.size = size_, .sha256 = {}, .kept = nullptr};
    if (policy_ == ContentPolicy::keep) {
        content.kept = std::make_shared<const std::string>(std::move(bytes_));
    }
    if (policy_ != ContentPolicy::discard) {
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned size = 0;
        EVP_DigestFinal_ex(digest_.get(), digest.data(), &size);
        boost::algorithm::hex_lower(digest.begin(), digest.begin() + size,
                                    std::back_inserter(content.sha256));
    }
    return content;
}

Content contentOf(std::string_view bytes) {
    ContentReader reader(ContentPolicy::keep);
    reader.append(bytes);
    return reader.finish();
}

} // namespace cirrus::emulator
