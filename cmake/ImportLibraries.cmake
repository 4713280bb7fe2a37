# The import libraries that hosts link against, both made from KesDataPrint.def so that they name
# exactly what the DLL exports:
#   lib/libKesDataPrint.dll.a  MinGW's, written by the linker along with the DLL;
#   lib/KesDataPrint.lib       MSVC's, by llvm-dlltool. On i686 its symbols carry the cdecl
#                              underscore (_SetDllFormPRec, __imp__SetDllFormPRec) that an MSVC
#                              build of the header's declaration looks for, while the name the
#                              loader imports stays the plain SetDllFormPRec.
find_program(KES_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
  set(kes_dlltool_machine i386)
else()
  set(kes_dlltool_machine i386:x86-64)
endif()
set(kes_msvc_import_library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/KesDataPrint.lib)
add_custom_command(OUTPUT ${kes_msvc_import_library}
  COMMAND ${KES_LLVM_DLLTOOL} -m ${kes_dlltool_machine} -d ${CMAKE_SOURCE_DIR}/src/host/KesDataPrint.def
          -l ${kes_msvc_import_library}
  DEPENDS ${CMAKE_SOURCE_DIR}/src/host/KesDataPrint.def
  COMMENT "MSVC import library KesDataPrint.lib")
add_custom_target(KesDataPrint_msvc_import_library ALL DEPENDS ${kes_msvc_import_library})
