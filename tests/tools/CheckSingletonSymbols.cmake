# cmake -DNM=... -DPROGRAM=... -P CheckSingletonSymbols.cmake
#
# Fails when PROGRAM holds a singleton of the library itself instead of calling into the library.
execute_process(COMMAND "${NM}" -C "${PROGRAM}"
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
set(instance [[Singleton<vx::datastorage::[A-Za-z]+>::instance\(\)]])
string(REGEX MATCHALL "[^\n]* U nel::tools::${instance}" imported "${symbols}")
if(NOT imported)
    message(FATAL_ERROR "${PROGRAM} does not call a singleton of the library")
endif()
string(REGEX MATCHALL "[^\n]* [A-TV-Za-z] [^\n]*${instance}[^\n]*" copied "${symbols}")
if(copied)
    message(FATAL_ERROR "${PROGRAM} has its own copy: ${copied}")
endif()
