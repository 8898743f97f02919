// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CURLSTATE_H
#define COMMUNICATOR_HTTP_CURLSTATE_H

#include <communicator/ihttpversiontrigger.h>

#include <curl/curl.h>

namespace Krelm::Communicator::HttpDevice {

/// The outcome that a libcurl code stands for when a connection is opened.
IHttpVersionTrigger::HttpSimpleState stateOfCurlCode(CURLcode code);

} // namespace Krelm::Communicator::HttpDevice

#endif
