# Sets up a program for Node.js that uses the official ACP library, in a folder of the build: its sources, the library from npm exactly
# as the lock file names it, and an executable PROGRAM that starts MAIN. The network is needed for the first time only; after that the
# folder is used as it is.
#   cmake -DSOURCE=<folder> -DDESTINATION=<folder> -DMAIN=agent.mjs -DPROGRAM=acp-agent -P InstallNodeProgram.cmake

set(minimumNode 18)

find_program(NODE_PROGRAM NAMES node nodejs)
find_program(NPM_PROGRAM npm)
if(NOT NODE_PROGRAM)
    message(FATAL_ERROR "Node.js is not installed: the official ACP library needs Node.js ${minimumNode} or later (package nodejs).")
endif()
if(NOT NPM_PROGRAM)
    message(FATAL_ERROR "npm is not installed: it is needed to fetch the official ACP library (package npm).")
endif()
execute_process(COMMAND "${NODE_PROGRAM}" --version OUTPUT_VARIABLE nodeVersion OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^v" "" nodeVersion "${nodeVersion}")
if(nodeVersion VERSION_LESS minimumNode)
    message(FATAL_ERROR "Node.js ${nodeVersion} in ${NODE_PROGRAM} is too old: the official ACP library needs ${minimumNode} or later.")
endif()

file(MAKE_DIRECTORY "${DESTINATION}")
file(GLOB sources "${SOURCE}/*.mjs" "${SOURCE}/package.json" "${SOURCE}/package-lock.json")
file(COPY ${sources} DESTINATION "${DESTINATION}")

# The library is fetched anew when the lock file has changed or an earlier attempt did not get to its end.
file(SHA256 "${SOURCE}/package-lock.json" wanted)
set(stamp "${DESTINATION}/installed.sha256")
set(present "")
if(EXISTS "${stamp}")
    file(READ "${stamp}" present)
endif()
if(NOT present STREQUAL wanted)
    file(REMOVE "${stamp}")
    execute_process(
        COMMAND "${NPM_PROGRAM}" ci --ignore-scripts --no-audit --no-fund
        WORKING_DIRECTORY "${DESTINATION}"
        RESULT_VARIABLE status
    )
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "npm could not fetch the official ACP library (status ${status}): the first run needs the network.")
    endif()
    file(WRITE "${stamp}" "${wanted}")
endif()

set(executable "${DESTINATION}/${PROGRAM}")
file(WRITE "${executable}" "#!/bin/sh\nexec '${NODE_PROGRAM}' '${DESTINATION}/${MAIN}' \"$@\"\n")
file(CHMOD "${executable}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
