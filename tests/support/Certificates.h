#pragma once

#include <string>

namespace varnox::tests {

/// A fresh key with a certificate, as PEM files NAME.pem and NAME.key of a folder.
struct Certificate
{
    std::string certificate;
    std::string key;
};

/// For a name or number of a host. Signed by the issuer, or by itself where there is none; then it
/// may sign others. validDays below 0 make it one that has expired.
Certificate makeCertificate(std::string const& folder, std::string const& name,
                            std::string const& host, Certificate const* issuer = nullptr,
                            int validDays = 1);

/// The same key in a file that needs a pass phrase.
std::string lockedKey(Certificate const& certificate);

}
