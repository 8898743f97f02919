// SPDX-License-Identifier: MIT
#include <simulator/http/certificate.h>

#include <boost/asio/ssl/context.hpp>

#include <QByteArray>
#include <QCryptographicHash>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <array>
#include <stdexcept>

namespace Tessel::Simulator {
namespace {

namespace ssl = boost::asio::ssl;

template <auto release>
struct Release
{
    template <typename Type>
    void operator()(Type* object) const
    {
        release(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using X509Pointer = std::unique_ptr<X509, Release<X509_free>>;

// Clocks of client and simulator may differ, and a simulator may run for long.
constexpr long secondsBefore = 24L * 3600;
constexpr long secondsAfter = 3650L * 24 * 3600;

void require(bool isDone)
{
    if (!isDone) {
        std::array<char, 256> text{};
        ERR_error_string_n(ERR_get_error(), text.data(), text.size());
        throw std::runtime_error(std::string("no certificate can be made: ") + text.data());
    }
}

void addExtension(X509& certificate, int kind, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, &certificate, &certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, Release<X509_EXTENSION_free>> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension && X509_add_ext(&certificate, extension.get(), -1) == 1);
}

X509Pointer certificateFor(EVP_PKEY& key, const std::string& address)
{
    X509Pointer certificate(X509_new());
    require(certificate && X509_set_version(certificate.get(), 2) == 1);
    std::uint32_t serial = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
    require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), serial | 1U) == 1);
    require(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -secondsBefore) != nullptr);
    require(X509_gmtime_adj(X509_getm_notAfter(certificate.get()), secondsAfter) != nullptr);
    require(X509_set_pubkey(certificate.get(), &key) == 1);
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                       reinterpret_cast<const unsigned char*>("tessel-sim"), -1, -1, 0) == 1);
    require(X509_set_issuer_name(certificate.get(), name) == 1);
    std::string names = "DNS:localhost,IP:127.0.0.1,IP:::1";
    if (address != "127.0.0.1" && address != "::1") {
        names += ",IP:" + address;
    }
    addExtension(*certificate, NID_subject_alt_name, names);
    addExtension(*certificate, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    addExtension(*certificate, NID_key_usage, "critical,digitalSignature,keyCertSign");
    addExtension(*certificate, NID_ext_key_usage, "serverAuth");
    require(X509_sign(certificate.get(), &key, EVP_sha256()) != 0);
    return certificate;
}

std::string pemOf(X509& certificate)
{
    const std::unique_ptr<BIO, Release<BIO_free>> memory(BIO_new(BIO_s_mem()));
    require(memory && PEM_write_bio_X509(memory.get(), &certificate) == 1);
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

std::string pinOf(EVP_PKEY& key)
{
    const int size = i2d_PUBKEY(&key, nullptr);
    require(size > 0);
    QByteArray der(size, '\0');
    auto* end = reinterpret_cast<unsigned char*>(der.data());
    require(i2d_PUBKEY(&key, &end) == size);
    return "sha256//" + QCryptographicHash::hash(der, QCryptographicHash::Sha256).toBase64().toStdString();
}

} // namespace

Certificate::Certificate(const std::string& address)
    : m_context(std::make_unique<ssl::context>(ssl::context::tls_server))
{
    const Key key(EVP_EC_gen("P-256"));
    require(key != nullptr);
    const X509Pointer certificate = certificateFor(*key, address);
    m_pem = pemOf(*certificate);
    m_pin = pinOf(*key);
    SSL_CTX* const native = m_context->native_handle();
    require(SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION) == 1);
    SSL_CTX_set_options(native, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    SSL_CTX_set_mode(native, SSL_MODE_RELEASE_BUFFERS);
    require(SSL_CTX_use_certificate(native, certificate.get()) == 1);
    require(SSL_CTX_use_PrivateKey(native, key.get()) == 1);
}

Certificate::~Certificate() = default;

} // namespace Tessel::Simulator
