# Runs PROGRAM and compares what it prints with the file EXPECTED.
execute_process(COMMAND "${PROGRAM}" RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 0 OR NOT printed STREQUAL expected)
    message(FATAL_ERROR "exit code ${result}\nexpected:\n${expected}\nprinted:\n${printed}\n${errors}")
endif()
