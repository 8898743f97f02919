// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_CERTIFICATE_H
#define SIMULATOR_HTTP_CERTIFICATE_H

#include <memory>
#include <string>

namespace boost::asio::ssl {
class context;
}

namespace Tessel::Simulator {

/// A key and a certificate that it signed itself, held in memory only. After construction it may be used from
/// any thread.
class Certificate
{
public:
    /// Makes one for @p address and the loopback interface. @throws std::runtime_error if OpenSSL cannot.
    explicit Certificate(const std::string& address);
    ~Certificate();
    Certificate(const Certificate&) = delete;
    Certificate& operator=(const Certificate&) = delete;

    /// The certificate, without the key.
    const std::string& pem() const { return m_pem; }
    /// `sha256//` and the base64 SHA-256 hash of its public key.
    const std::string& pin() const { return m_pin; }
    /// What connections with it are made of: TLS 1.2 or later.
    boost::asio::ssl::context& context() const { return *m_context; }

private:
    std::string m_pem;
    std::string m_pin;
    std::unique_ptr<boost::asio::ssl::context> m_context;
};

} // namespace Tessel::Simulator

#endif
