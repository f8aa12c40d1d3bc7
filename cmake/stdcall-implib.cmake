# Remakes the 32-bit import library so that C hosts can link against it.
#
# The DLL exports its __stdcall entries under plain names (DoDaDllInit),
# but a 32-bit caller compiled against include/tslpr32i.h refers to the
# decorated symbol (_DoDaDllInit@28). The import library made here holds
# the decorated symbols and imports each by its plain name (dlltool -k).
# The argument sizes come from the DLL's own symbols, so the .def file
# keeps listing plain names only.
#
#   cmake -DNM=... -DDLLTOOL=... -DDLL=... -DDEF=... -DIMPLIB=... -P stdcall-implib.cmake
execute_process(COMMAND ${NM} ${DLL} OUTPUT_VARIABLE symbols RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${NM} could not read ${DLL}")
endif()
file(STRINGS ${DEF} def_lines)
set(out "LIBRARY TSLPR32I.dll\nEXPORTS\n")
set(in_exports FALSE)
foreach(line ${def_lines})
  string(STRIP "${line}" line)
  if(line STREQUAL "EXPORTS")
    set(in_exports TRUE)
  elseif(in_exports AND line MATCHES "^([A-Za-z_][A-Za-z0-9_]*)")
    set(name ${CMAKE_MATCH_1})
    if(symbols MATCHES " T _${name}@([0-9]+)\n")
      string(APPEND out "    ${name}@${CMAKE_MATCH_1}\n")
    else()
      string(APPEND out "    ${name}\n")   # a cdecl entry keeps its plain name
    endif()
  endif()
endforeach()
get_filename_component(dir ${IMPLIB} DIRECTORY)
file(WRITE ${dir}/generated/tslpr32i-decorated.def "${out}")
execute_process(COMMAND ${DLLTOOL} -d ${dir}/generated/tslpr32i-decorated.def -D TSLPR32I.dll -k -l ${IMPLIB}
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${DLLTOOL} could not make ${IMPLIB}")
endif()
