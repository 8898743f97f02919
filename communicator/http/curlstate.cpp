// SPDX-License-Identifier: MIT
#include "communicator/http/curlstate.h"

namespace Krelm::Communicator::HttpDevice {

IHttpVersionTrigger::HttpSimpleState stateOfCurlCode(CURLcode code)
{
    switch (code) {
    case CURLE_OK:
        return IHttpVersionTrigger::Success;
    case CURLE_URL_MALFORMAT:
        return IHttpVersionTrigger::InvalidRequest;
    case CURLE_COULDNT_RESOLVE_HOST:
        return IHttpVersionTrigger::HostNotFound;
    case CURLE_COULDNT_CONNECT:
        return IHttpVersionTrigger::Unreachable;
    case CURLE_OPERATION_TIMEDOUT:
        return IHttpVersionTrigger::TimedOut;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
        return IHttpVersionTrigger::TlsFailure;
    default:
        return IHttpVersionTrigger::Broken;
    }
}

} // namespace Krelm::Communicator::HttpDevice
