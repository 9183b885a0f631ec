# find_package(vrax): the target vrax::vrax.
include(${CMAKE_CURRENT_LIST_DIR}/vrax-targets.cmake)
