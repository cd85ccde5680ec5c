#include "emulator/Crypto.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
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

void require(bool isDone) {
    if (!isDone) {
        throw std::runtime_error("cannot make certificates");
    }
}

void addExtensions(X509* certificate, X509* issuer, std::span<const ExtensionText> extensions) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    for (const auto& [kind, text] : extensions) {
        const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, text.c_str()));
        require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
    }
}

/// A certificate for this key, which its issuer signs; without an issuer it signs itself.
Certificate makeCertificate(const char* name, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey,
                            std::span<const ExtensionText> extensions) {
    constexpr long validSince = -60L * 60;
    constexpr long validFor = 7L * 24 * 60 * 60;
    Certificate made(X509_new());
    X509* const certificate = made.get();
    X509* const signer = issuer != nullptr ? issuer : certificate;
    std::uint64_t serial = 0;
    require(certificate != nullptr && X509_set_version(certificate, X509_VERSION_3) == 1 &&
            RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1 &&
            ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1U) == 1 &&
            X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(name), -1, -1,
                                       0) == 1 &&
            X509_set_issuer_name(certificate, X509_get_subject_name(signer)) == 1 &&
            X509_gmtime_adj(X509_getm_notBefore(certificate), validSince) != nullptr &&
            X509_gmtime_adj(X509_getm_notAfter(certificate), validFor) != nullptr &&
            X509_set_pubkey(certificate, key) == 1);
    addExtensions(certificate, signer, extensions);
    require(X509_sign(certificate, issuerKey, EVP_sha256()) > 0);
    return made;
}

std::string pemText(X509* certificate) {
    const Memory memory(BIO_new(BIO_s_mem()));
    require(memory && PEM_write_bio_X509(memory.get(), certificate) == 1);
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

} // namespace

std::string certify(SSL_CTX* context, const std::vector<std::string>& hosts) {
    std::string names = "IP:127.0.0.1";
    for (const std::string& host : hosts) {
        names += ",DNS:" + host;
    }
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
        {NID_subject_alt_name, names},
    }};
    const Key authorityKey(EVP_EC_gen("P-256"));
    const Key serverKey(EVP_EC_gen("P-256"));
    require(authorityKey && serverKey);
    const Certificate authority = makeCertificate("Local Drive Authority", authorityKey.get(),
                                                  nullptr, authorityKey.get(), authorityExtensions);
    const Certificate server = makeCertificate("Local Drive", serverKey.get(), authority.get(),
                                               authorityKey.get(), serverExtensions);
    require(SSL_CTX_use_certificate(context, server.get()) == 1 &&
            SSL_CTX_use_PrivateKey(context, serverKey.get()) == 1);
    return pemText(authority.get());
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
