# SPDX-License-Identifier: MIT
# Fails when the installed headers are not those that lie where public ones do. Run by CTest as
#   cmake -DSOURCE=... -DINCLUDE=... -P installedheaders.cmake
set(expected)
foreach(folder tessel tessel/records communicator zephserializer operations simulator testing)
  file(GLOB headers RELATIVE ${SOURCE} ${SOURCE}/${folder}/*.h)
  list(APPEND expected ${headers})
endforeach()
file(GLOB_RECURSE headers RELATIVE ${SOURCE}/interfaces ${SOURCE}/interfaces/*.h)
list(APPEND expected ${headers})

# The promises are installed as a tree of their own, when they are.
file(GLOB_RECURSE installed RELATIVE ${INCLUDE} ${INCLUDE}/*.h)
list(FILTER installed EXCLUDE REGEX "^tessel/qtpromise/")

set(missing ${expected})
list(REMOVE_ITEM missing ${installed})
set(surplus ${installed})
list(REMOVE_ITEM surplus ${expected})
if(NOT expected OR missing OR surplus)
  message(FATAL_ERROR "public but not installed: ${missing}\ninstalled but not public: ${surplus}")
endif()
