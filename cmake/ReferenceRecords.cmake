# vrax_find_reference_records(FOLDER EC13_FOLDER NOISE_FOLDER)
#
# Looks for the public records in FOLDER itself, FOLDER/aami-ec13 and FOLDER/nstdb, and sets the two
# variables to where each family stands, or to nothing where no record of it is there. Refuses a
# family of which a record is missing or is not the published one, and a folder without any. Works
# in script mode too:
#   cmake -DRECORDS=FOLDER -P cmake/ReferenceRecords.cmake

# The SHA-256 that the publisher gives for the samples (NAME.dat).
set(VRAX_EC13_SHA256
  aami3a   781c303c8d37a3674032326ffa1def02d702d3018b6bd9c4f924f7a018c18b35
  aami3b   88438c28a0d1376d6cbe0867a13e795f0b6607f949e0d82c34127821ba9b5ecc
  aami3c   734d588e938aca8ca535cce37b788447f8b1b755d7c0d8cbe57a3c261553d626
  aami3d   b73dd5289b6481676c914076e6097cfa7989814e4a835ba53eaaadb35d9ef816
  aami4a   0677547260d4669e4f8cc66113eacbaa3e1706e3299d518ad2a44cdbacdea22e
  aami4a_d fceeb8775d177b66390480e87bbde9b68f32cd9c3faf31ab628fa8c8b7cd35f4
  aami4a_h 5f3ddbe4c91c3eeb4c4334b76abe4bc2f140f4db61740bf9beac977a4718a413
  aami4b   9ad85ad75ed1cce5524e0fa2e65ec6d693cbbb905e45fbacfa24a6a94f99ad92
  aami4b_d 3e52e063cb55e4e6c6508ea89481e26eb95721881a0025d7e35e8ab7a2744db8
  aami4b_h 156ca18e05ad145c0f69ccf94c8671c5c4328cec54f05d8413e599a796b8457b)
set(VRAX_NOISE_SHA256
  ma 40bda613a3e65adb277df1b72f8a41d2c1c2e0131ea4ec1e03cf1e2cd68199c4
  em 4f9416a04b2bed98081ee3118c1282f9e35321bfd5da96ce48056a3fe147358d
  bw 15f68280aba8b006f5497c14da44b558e68caaabc2afc5c4b710eea779b7512c)

# The first of the folders that holds any of the records; all of them must stand there.
function(vrax_find_record_family result sums)
  set(${result} "" PARENT_SCOPE)
  foreach(folder ${ARGN})
    set(missing "")
    set(present "")
    set(rest ${${sums}})
    while(rest)
      list(POP_FRONT rest name sha256)
      foreach(file ${name}.hea ${name}.dat)
        if(EXISTS ${folder}/${file})
          list(APPEND present ${file})
        else()
          list(APPEND missing ${file})
        endif()
      endforeach()
      if(EXISTS ${folder}/${name}.dat)
        if(NOT CMAKE_SCRIPT_MODE_FILE)
          set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/${name}.dat)
        endif()
        file(SHA256 ${folder}/${name}.dat found)
        if(NOT found STREQUAL sha256)
          message(FATAL_ERROR "${folder}/${name}.dat is not the published record: its SHA-256 is "
                              "${found}, the published one ${sha256}")
        endif()
      endif()
    endwhile()
    if(present)
      if(missing)
        list(JOIN missing ", " missing)
        message(FATAL_ERROR "${folder} lacks ${missing}: all records of a family are needed")
      endif()
      set(${result} ${folder} PARENT_SCOPE)
      return()
    endif()
  endforeach()
endfunction()

function(vrax_find_reference_records folder ec13 noise)
  get_filename_component(folder "${folder}" ABSOLUTE)
  if(NOT IS_DIRECTORY ${folder})
    message(FATAL_ERROR "${folder}, named for the reference records, is no folder")
  endif()
  vrax_find_record_family(ec13Folder VRAX_EC13_SHA256 ${folder} ${folder}/aami-ec13)
  vrax_find_record_family(noiseFolder VRAX_NOISE_SHA256 ${folder} ${folder}/nstdb)
  if(NOT ec13Folder AND NOT noiseFolder)
    message(FATAL_ERROR "${folder} holds no reference record: looked for aami3a ... aami4b_h and "
                        "ma, em, bw there, in aami-ec13 and in nstdb")
  endif()
  if(NOT ec13Folder)
    message(STATUS "${folder} has no EC13 records: their descriptions are used")
  elseif(NOT noiseFolder)
    message(STATUS "${folder} has no noise records: their likenesses are used")
  endif()
  set(${ec13} ${ec13Folder} PARENT_SCOPE)
  set(${noise} ${noiseFolder} PARENT_SCOPE)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  vrax_find_reference_records("${RECORDS}" ec13Folder noiseFolder)
  message(STATUS "EC13: ${ec13Folder}")
  message(STATUS "noise: ${noiseFolder}")
endif()
