#include "emulator/Crypto.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace cirrus::emulator {

namespace {

template <auto Free>
struct Deleter {
    template <class Type>
    void operator()(Type* object) const {
        Free(object);
    }
};

using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;
using Memory = std::unique_ptr<BIO, Deleter<BIO_free_all>>;

struct ExtensionText {
    int kind;
    std::string text;
};

constexpr long validSince = -60L * 60;
constexpr long validFor = 7L * 24 * 60 * 60;

bool addExtensions(X509* certificate, X509* issuer, std::span<const ExtensionText> extensions) {
    for (const ExtensionText& wanted : extensions) {
        X509V3_CTX context;
        X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
        const Extension extension(
            X509V3_EXT_conf_nid(nullptr, &context, wanted.kind, wanted.text.c_str()));
        if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1) {
            return false;
        }
    }
    return true;
}

bool setName(X509_NAME* name, const char* commonName) {
    const auto* text = reinterpret_cast<const unsigned char*>(commonName);
    return X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1;
}

bool setSerialNumber(X509* certificate) {
    std::uint64_t serial = 0;
    return RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1 &&
           ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1U) == 1;
}

/// A certificate that still lacks its issuer, extensions and signature.
Certificate draftCertificate(const char* commonName, EVP_PKEY* key) {
    Certificate certificate(X509_new());
    if (!certificate || X509_set_version(certificate.get(), X509_VERSION_3) != 1 ||
        !setSerialNumber(certificate.get()) ||
        !setName(X509_get_subject_name(certificate.get()), commonName) ||
        X509_gmtime_adj(X509_getm_notBefore(certificate.get()), validSince) == nullptr ||
        X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validFor) == nullptr ||
        X509_set_pubkey(certificate.get(), key) != 1) {
        return nullptr;
    }
    return certificate;
}

bool sign(X509* certificate, X509* issuer, EVP_PKEY* issuerKey,
          std::span<const ExtensionText> extensions) {
    return X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1 &&
           addExtensions(certificate, issuer, extensions) &&
           X509_sign(certificate, issuerKey, EVP_sha256()) > 0;
}

template <class Writer>
std::string pemText(Writer write) {
    const Memory memory(BIO_new(BIO_s_mem()));
    if (!memory || write(memory.get()) != 1) {
        return {};
    }
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

std::string pemText(X509* certificate) {
    return pemText([&](BIO* memory) { return PEM_write_bio_X509(memory, certificate); });
}

std::string pemText(EVP_PKEY* key) {
    return pemText([&](BIO* memory) {
        return PEM_write_bio_PrivateKey(memory, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
}

std::string alternativeNames(const std::vector<std::string>& hosts) {
    std::string names = "IP:127.0.0.1";
    for (const std::string& host : hosts) {
        names += ",DNS:" + host;
    }
    return names;
}

} // namespace

Sha256::Sha256() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr);
}

void Sha256::update(std::string_view bytes) {
    EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size());
}

std::string Sha256::finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    EVP_DigestFinal_ex(context_.get(), digest.data(), &size);
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : std::span(digest).first(size)) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

std::expected<ServerIdentity, EmulatorError>
makeServerIdentity(const std::vector<std::string>& hosts) {
    const std::array<ExtensionText, 4> authorityExtensions{{
        {NID_basic_constraints, "critical,CA:TRUE,pathlen:0"},
        {NID_key_usage, "critical,keyCertSign,cRLSign"},
        {NID_subject_key_identifier, "hash"},
        {NID_authority_key_identifier, "keyid:always"},
    }};
    const std::array<ExtensionText, 6> serverExtensions{{
        {NID_basic_constraints, "critical,CA:FALSE"},
        {NID_key_usage, "critical,digitalSignature"},
        {NID_ext_key_usage, "serverAuth"},
        {NID_subject_key_identifier, "hash"},
        {NID_authority_key_identifier, "keyid:always"},
        {NID_subject_alt_name, alternativeNames(hosts)},
    }};
    const Key authorityKey(EVP_EC_gen("P-256"));
    const Key serverKey(EVP_EC_gen("P-256"));
    if (!authorityKey || !serverKey) {
        return std::unexpected(EmulatorError{"cannot make keys"});
    }
    const Certificate authority = draftCertificate("Local Drive Authority", authorityKey.get());
    const Certificate server = draftCertificate("Local Drive", serverKey.get());
    if (!authority || !server ||
        !sign(authority.get(), authority.get(), authorityKey.get(), authorityExtensions) ||
        !sign(server.get(), authority.get(), authorityKey.get(), serverExtensions)) {
        return std::unexpected(EmulatorError{"cannot make certificates"});
    }
    return ServerIdentity{.authority = pemText(authority.get()),
                          .certificate = pemText(server.get()),
                          .privateKey = pemText(serverKey.get())};
}

std::string codeChallenge(std::string_view verifier) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    EVP_Digest(verifier.data(), verifier.size(), digest.data(), &size, EVP_sha256(), nullptr);
    std::array<unsigned char, std::size_t{2} * EVP_MAX_MD_SIZE> text{};
    EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(size));
    std::string challenge(reinterpret_cast<const char*>(text.data()));
    challenge.resize(challenge.find('='));
    std::ranges::replace(challenge, '+', '-');
    std::ranges::replace(challenge, '/', '_');
    return challenge;
}

std::string randomIdentifier(std::size_t length) {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string text(length, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(text.data()), static_cast<int>(length)) != 1) {
        std::abort(); // without random bytes, identifiers could be guessed
    }
    for (char& character : text) {
        character = alphabet[static_cast<unsigned char>(character) % alphabet.size()];
    }
    return text;
}

} // namespace cirrus::emulator
