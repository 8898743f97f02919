# SPDX-License-Identifier: MIT
# Run by cmake -P. Writes a C++ source with the content of a text file.
#   SOURCE    the text file; it must not contain )tessel"
#   OUTPUT    the C++ source
#   FUNCTION  the function, in the namespace Tessel::Simulator, that returns the text
#   HEADER    the header that declares it
file(READ "${SOURCE}" text)
file(WRITE "${OUTPUT}" "// SPDX-License-Identifier: MIT
#include <${HEADER}>

namespace Tessel::Simulator {

std::string_view ${FUNCTION}()
{
    return R\"tessel(${text})tessel\";
}

} // namespace Tessel::Simulator
")
