#include "tests/support/Certificates.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

namespace varnox::tests {

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
using Key = std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)>;
using Signed = std::unique_ptr<X509, void (*)(X509*)>;

File open(std::string const& path, char const* mode)
{
    File file(std::fopen(path.c_str(), mode), std::fclose);
    if (!file)
        throw std::runtime_error("can't open " + path);
    return file;
}

void sign(X509* certificate, EVP_PKEY* key)
{
    if (::X509_sign(certificate, key, ::EVP_sha256()) <= 0)
        throw std::runtime_error("can't sign a certificate");
}

void extend(X509* certificate, int what, std::string const& value)
{
    X509_EXTENSION* const extension = ::X509V3_EXT_conf_nid(nullptr, nullptr, what, value.c_str());
    if (extension == nullptr)
        throw std::runtime_error("can't make the extension " + value);
    ::X509_add_ext(certificate, extension, -1);
    ::X509_EXTENSION_free(extension);
}

}

Certificate makeCertificate(std::string const& folder, std::string const& name,
                            std::string const& host, Certificate const* issuer, int validDays)
{
    static std::atomic<long> serial = 1;
    constexpr long DAY = 24 * 60 * 60;
    char curve[] = "P-256"; // the macro casts constness away
    Key const key(EVP_EC_gen(curve), ::EVP_PKEY_free);
    Signed const certificate(::X509_new(), ::X509_free);
    ::X509_set_version(certificate.get(), X509_VERSION_3);
    ::ASN1_INTEGER_set(::X509_get_serialNumber(certificate.get()), serial++);
    ::X509_gmtime_adj(::X509_getm_notBefore(certificate.get()), -DAY * 10);
    ::X509_gmtime_adj(::X509_getm_notAfter(certificate.get()), DAY * validDays);
    ::X509_set_pubkey(certificate.get(), key.get());
    auto const* const text = reinterpret_cast<unsigned char const*>(name.c_str());
    ::X509_NAME_add_entry_by_txt(::X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                                 text, -1, -1, 0);
    bool const isNumber = host.find_first_not_of("0123456789.:") == std::string::npos;
    extend(certificate.get(), NID_subject_alt_name, (isNumber ? "IP:" : "DNS:") + host);
    extend(certificate.get(), NID_basic_constraints, issuer != nullptr ? "CA:FALSE" : "CA:TRUE");
    if (issuer != nullptr) {
        Signed const authority(
            ::PEM_read_X509(open(issuer->certificate, "r").get(), nullptr, nullptr, nullptr),
            ::X509_free);
        Key const authoritysKey(
            ::PEM_read_PrivateKey(open(issuer->key, "r").get(), nullptr, nullptr, nullptr),
            ::EVP_PKEY_free);
        ::X509_set_issuer_name(certificate.get(), ::X509_get_subject_name(authority.get()));
        sign(certificate.get(), authoritysKey.get());
    } else {
        ::X509_set_issuer_name(certificate.get(), ::X509_get_subject_name(certificate.get()));
        sign(certificate.get(), key.get());
    }
    Certificate const result{folder + "/" + name + ".pem", folder + "/" + name + ".key"};
    ::PEM_write_X509(open(result.certificate, "w").get(), certificate.get());
    ::PEM_write_PrivateKey(open(result.key, "w").get(), key.get(), nullptr, nullptr, 0, nullptr,
                           nullptr);
    ::chmod(result.key.c_str(), 0600);
    return result;
}

std::string lockedKey(Certificate const& certificate)
{
    Key const key(
        ::PEM_read_PrivateKey(open(certificate.key, "r").get(), nullptr, nullptr, nullptr),
        ::EVP_PKEY_free);
    unsigned char const phrase[] = "open sesame";
    std::string const path = certificate.key + ".locked";
    ::PEM_write_PrivateKey(open(path, "w").get(), key.get(), ::EVP_aes_128_cbc(), phrase,
                           sizeof(phrase) - 1, nullptr, nullptr);
    ::chmod(path.c_str(), 0600);
    return path;
}

}
