# SPDX-License-Identifier: MIT
# Run by cmake -P. Writes a C++ source with the content of a text file.
#   SOURCE    the text file; it must not contain )tessel"
#   OUTPUT    the C++ source
#   FUNCTION  the function that returns the text
#   NAMESPACE its namespace; Tessel::Simulator unless given
#   HEADER    the header that declares it
if(NOT DEFINED NAMESPACE)
  set(NAMESPACE Tessel::Simulator)
endif()
file(READ "${SOURCE}" text)
file(WRITE "${OUTPUT}" "// SPDX-License-Identifier: MIT
#include <${HEADER}>

namespace ${NAMESPACE} {

std::string_view ${FUNCTION}()
{
    return R\"tessel(${text})tessel\";
}

} // namespace ${NAMESPACE}
")
