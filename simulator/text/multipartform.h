// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TEXT_MULTIPARTFORM_H
#define SIMULATOR_TEXT_MULTIPARTFORM_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// One part of a form (RFC 7578).
struct FormPart
{
    std::string name;
    std::string fileName;    ///< empty: the part is no file
    std::string contentType; ///< empty: the part says none
    std::string_view content;
};

/// Whether @p contentType is that of a form.
bool isMultipartForm(std::string_view contentType);

/// The parts of @p body, which has to outlive them; nothing when it is no whole form with the boundary that
/// @p contentType names.
std::optional<std::vector<FormPart>> formParts(std::string_view contentType, std::string_view body);

} // namespace Tessel::Simulator

#endif
