# Run by `cmake --install` with `docs` as the installed documents: what points to sources, which are
# not installed, is left as plain words.
file(GLOB_RECURSE texts "${docs}/*.md")
foreach(text IN LISTS texts)
  file(READ "${text}" before)
  string(REGEX REPLACE "\\[([^]]+)\\]\\((\\.\\./)?(src|bindings)/[^)]*\\)" "\\1" after "${before}")
  if(NOT after STREQUAL before)
    file(WRITE "${text}" "${after}")
  endif()
endforeach()
