# Runs one script test: cmake -DHOST=... -DSCRIPT=dir/name.tsl [-DEMULATOR=cmd;args]
#   [-DWINE_STATE=dir] -DTMP_ROOT=dir -P script-test.cmake
# The host runs as `HOST --console name.tsl [args from name.args]` in the
# script's directory with a fresh empty TSL_TEST_TMP. Standard output must
# equal name.out, standard error name.err (when present) and the exit
# status name.exit (default 0); CR LF counts as LF.
get_filename_component(dir ${SCRIPT} DIRECTORY)
get_filename_component(group ${dir} NAME)
get_filename_component(name ${SCRIPT} NAME_WE)

set(tmp ${TMP_ROOT}/${group}/${name})
file(REMOVE_RECURSE ${tmp})
file(MAKE_DIRECTORY ${tmp})
set(command ${HOST})
if(EMULATOR)
  # Under Wine the directory is seen through drive Z:, the Unix root.
  string(REPLACE "/" "\\" wtmp "Z:${tmp}")
  set(ENV{TSL_TEST_TMP} "${wtmp}")
  set(command ${EMULATOR} ${WINE_STATE} ${HOST})
else()
  set(ENV{TSL_TEST_TMP} "${tmp}")
endif()

set(args)
if(EXISTS ${dir}/${name}.args)
  file(READ ${dir}/${name}.args args_text)
  string(STRIP "${args_text}" args_text)
  separate_arguments(args UNIX_COMMAND "${args_text}")
endif()

execute_process(COMMAND ${command} --console ${name}.tsl ${args}
                WORKING_DIRECTORY ${dir}
                INPUT_FILE /dev/null
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status
                TIMEOUT 120)  # above the Wine runner's own limit of 100 s

string(REPLACE "\r\n" "\n" out "${out}")
string(REPLACE "\r\n" "\n" err "${err}")
set(failures "")

file(READ ${dir}/${name}.out want_out)
string(REPLACE "\r\n" "\n" want_out "${want_out}")
if(NOT out STREQUAL want_out)
  string(APPEND failures "standard output differs\n--- expected\n${want_out}--- actual\n${out}---\n")
endif()

if(EXISTS ${dir}/${name}.err)
  file(READ ${dir}/${name}.err want_err)
  string(REPLACE "\r\n" "\n" want_err "${want_err}")
  if(NOT err STREQUAL want_err)
    string(APPEND failures "standard error differs\n--- expected\n${want_err}--- actual\n${err}---\n")
  endif()
endif()

set(want_status 0)
if(EXISTS ${dir}/${name}.exit)
  file(STRINGS ${dir}/${name}.exit want_status LIMIT_COUNT 1)
  string(STRIP "${want_status}" want_status)
endif()
if(NOT "${status}" STREQUAL "${want_status}")
  string(APPEND failures "exit status: expected ${want_status}, got ${status}\n")
endif()

if(failures)
  message(FATAL_ERROR "${group}/${name}.tsl failed:\n${failures}standard error was:\n${err}")
endif()
message(STATUS "${group}/${name}.tsl passed")
