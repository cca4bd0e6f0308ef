# Runs one fuzz target from its seeds: for 100,000 inputs that are the same each time, or, with TESSARIN_FUZZ_SECONDS in the
# environment, for so many seconds and with what earlier runs found. An input that breaks a rule is kept in ARTIFACTS.
#   cmake -DPROGRAM=<target> -DSEEDS=<folder> -DCORPUS=<folder> -DARTIFACTS=<folder> -P RunFuzzer.cmake

set(effort -runs=100000 -seed=1)
if(DEFINED ENV{TESSARIN_FUZZ_SECONDS})
    set(effort -max_total_time=$ENV{TESSARIN_FUZZ_SECONDS})
else()
    file(REMOVE_RECURSE "${CORPUS}")
endif()
file(MAKE_DIRECTORY "${CORPUS}" "${ARTIFACTS}")

# An input that takes ten seconds hangs; one that needs two gigabytes allocates without bound. Leaks are looked for once, at the end: with
# threads that free a moment later the fuzzer would look after each input.
execute_process(
    COMMAND "${PROGRAM}" ${effort} -max_len=2048 -timeout=10 -rss_limit_mb=2048 -detect_leaks=0 -entropic=0 -print_final_stats=1
            "-artifact_prefix=${ARTIFACTS}/" "${CORPUS}" "${SEEDS}"
    RESULT_VARIABLE status
)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ended with ${status}; the input is in ${ARTIFACTS}")
endif()
