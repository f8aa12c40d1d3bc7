# Runs a host with arguments and checks its exit status and standard error:
#   cmake "-DCOMMAND=prog;args" -DWANT_STATUS=n -DWANT_ERR=regex [-DWANT_OUT=text | -DWANT_OUT_REGEX=regex]
#         -P host-check.cmake
execute_process(COMMAND ${COMMAND} INPUT_FILE /dev/null
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status TIMEOUT 120)
string(REPLACE "\r\n" "\n" err "${err}")
string(REPLACE "\r\n" "\n" out "${out}")
set(failures "")
if(NOT "${status}" STREQUAL "${WANT_STATUS}")
  string(APPEND failures "exit status: expected ${WANT_STATUS}, got ${status}\n")
endif()
if(DEFINED WANT_ERR AND NOT err MATCHES "${WANT_ERR}")
  string(APPEND failures "standard error does not match \"${WANT_ERR}\"\n")
endif()
if(DEFINED WANT_OUT AND NOT out STREQUAL "${WANT_OUT}")
  string(APPEND failures "standard output: expected \"${WANT_OUT}\", got \"${out}\"\n")
endif()
if(DEFINED WANT_OUT_REGEX AND NOT out MATCHES "${WANT_OUT_REGEX}")
  string(APPEND failures "standard output does not match \"${WANT_OUT_REGEX}\"\n")
endif()
if(failures)
  message(FATAL_ERROR "${failures}--- standard output\n${out}--- standard error\n${err}")
endif()
