# Writes the Info.plist of the bundle. A build without a key for updates has none in it, so that Sparkle refuses every archive.
#   tessarin_info_plist(FILE VERSION MINIMUM_SYSTEM PUBLIC_KEY)
# It is a script too, so that the result can be looked at on any system:
#   cmake -DFILE=Info.plist -DVERSION=1.2.3 -DMINIMUM_SYSTEM=14.0 -DPUBLIC_KEY= -P InfoPlist.cmake
set(tessarin_info_plist_template "${CMAKE_CURRENT_LIST_DIR}/Info.plist.in")

function(tessarin_info_plist file version minimumSystem publicKey)
    set(updateKey "")
    if(NOT publicKey STREQUAL "")
        set(updateKey "\n\t<key>SUPublicEDKey</key>\n\t<string>${publicKey}</string>")
    endif()
    configure_file("${tessarin_info_plist_template}" "${file}" @ONLY)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    tessarin_info_plist("${FILE}" "${VERSION}" "${MINIMUM_SYSTEM}" "${PUBLIC_KEY}")
endif()
