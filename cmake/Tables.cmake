# Where the constant tables come from, and the files that the library embeds.
#
# VRAX_REFERENCE_RECORDS names a folder of public records in WFDB form; a family whose records are
# there is embedded bit-exact. Without it the project's own descriptions are expanded.

set(VRAX_REFERENCE_RECORDS "" CACHE PATH
    "Folder of public records to embed (EC13 and noise, WFDB form); empty for the descriptions")
set(VRAX_REFERENCE_DATA ${PROJECT_SOURCE_DIR}/../shared/reference-data
    CACHE PATH "Folder of public records that the tests compare with")
include(${CMAKE_CURRENT_LIST_DIR}/ReferenceRecords.cmake)

set(VRAX_EC13_RECORDS "")
set(VRAX_NOISE_RECORDS "")
if(VRAX_REFERENCE_RECORDS)
  vrax_find_reference_records("${VRAX_REFERENCE_RECORDS}" VRAX_EC13_RECORDS VRAX_NOISE_RECORDS)
endif()

set(VRAX_TABLES_IDENTITY "EC13 likeness, noise likeness, CAL likeness, ANE20000 likeness")
if(VRAX_EC13_RECORDS)
  string(REPLACE "EC13 likeness" "EC13 public record" VRAX_TABLES_IDENTITY
                 "${VRAX_TABLES_IDENTITY}")
endif()
if(VRAX_NOISE_RECORDS)
  string(REPLACE "noise likeness" "noise public record" VRAX_TABLES_IDENTITY
                 "${VRAX_TABLES_IDENTITY}")
endif()
message(STATUS "vrax tables: ${VRAX_TABLES_IDENTITY}")

# vrax_add_tables(TARGET DESCRIPTIONS): makes the tables from the descriptions in that folder, or
# from the records, and embeds them in the target.
function(vrax_add_tables target descriptions)
  set(out ${CMAKE_CURRENT_BINARY_DIR}/tables)
  set(files iec227w.bin iec251w.bin ane20000.bin noise.bin identity.txt)
  list(TRANSFORM files PREPEND ${out}/)
  set(inputs ${descriptions}/cal.txt ${descriptions}/ane20000.txt)
  if(VRAX_EC13_RECORDS)
    set(ec13 --ec13-records ${VRAX_EC13_RECORDS})
    file(GLOB records CONFIGURE_DEPENDS ${VRAX_EC13_RECORDS}/aami[34]*.hea
         ${VRAX_EC13_RECORDS}/aami[34]*.dat)
    list(APPEND inputs ${records})
  else()
    set(ec13 --ec13 ${descriptions}/ec13)
    file(GLOB_RECURSE texts CONFIGURE_DEPENDS ${descriptions}/ec13/*.txt)
    list(APPEND inputs ${texts})
  endif()
  if(VRAX_NOISE_RECORDS)
    set(noise --noise-records ${VRAX_NOISE_RECORDS})
    foreach(name ma em bw)
      list(APPEND inputs ${VRAX_NOISE_RECORDS}/${name}.hea ${VRAX_NOISE_RECORDS}/${name}.dat)
    endforeach()
  else()
    set(noise --noise ${descriptions}/noise.txt)
    list(APPEND inputs ${descriptions}/noise.txt)
  endif()
  add_custom_command(
    OUTPUT ${files}
    COMMAND vrax-tables build --out ${out} --cal ${descriptions}/cal.txt
            --ane20000 ${descriptions}/ane20000.txt ${ec13} ${noise}
    DEPENDS vrax-tables ${inputs}
    COMMENT "Making the tables"
    VERBATIM)
  target_sources(${target} PRIVATE ${descriptions}/Tables.S ${files})
  set_source_files_properties(${descriptions}/Tables.S PROPERTIES
    OBJECT_DEPENDS "${files}"
    INCLUDE_DIRECTORIES ${out})
endfunction()
