// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CURLSTATE_H
#define COMMUNICATOR_HTTP_CURLSTATE_H

#include <communicator/ihttpversiontrigger.h>

#include <curl/curl.h>

namespace Krelm::Communicator::HttpDevice {

/// The outcome for a libcurl result code from opening a connection.
IHttpVersionTrigger::HttpSimpleState stateOfCurlCode(CURLcode code);

} // namespace Krelm::Communicator::HttpDevice

#endif
