// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TEXT_MULTIPARTFORM_H
#define SIMULATOR_TEXT_MULTIPARTFORM_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// A part of a form (RFC 7578).
struct FormPart
{
    std::string name;
    std::string fileName;    ///< empty if the part is not a file
    std::string contentType; ///< empty if the part has none
    std::string_view content;
};

/// Whether @p contentType is that of a form.
bool isMultipartForm(std::string_view contentType);

/// The parts of @p body, which must outlive them; nothing if it is not a complete form with the boundary
/// given in @p contentType.
std::optional<std::vector<FormPart>> formParts(std::string_view contentType, std::string_view body);

} // namespace Tessel::Simulator

#endif
