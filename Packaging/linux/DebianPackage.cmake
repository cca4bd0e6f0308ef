# The Debian package, made by CPack out of what `cmake --install` installs.
set(TESSARIN_MAINTAINER "The authors of tessarin <maintainers@tessarin.invalid>" CACHE STRING
    "Who answers for a package made from this build, as \"Name <address>\"")

# Loaded by name while the program runs, so that the libraries it is linked with don't lead to them.
set(loaded
    ca-certificates
    qml6-module-qt-labs-qmlmodels
    qml6-module-qtqml
    qml6-module-qtqml-models
    qml6-module-qtqml-workerscript
    qml6-module-qtquick
    qml6-module-qtquick-layouts
    qml6-module-qtquick-templates
    qt6-image-formats-plugins # WebP in the gallery; the other formats come with what is linked
)
# Without these it works, with less: no state of the repository in a handoff, no screen reader, a key of the remote host that lies in a file,
# emoji without colour, a chooser of folders of its own, X11 where Wayland is spoken.
set(better at-spi2-core fonts-noto-color-emoji git "gnome-keyring | kwalletmanager" qt6-wayland xdg-desktop-portal)
# The desktop's own font and cursor under GNOME. No more than suggested, because it makes each start slower.
set(possible qt6-gtk-platformtheme x-terminal-emulator)

list(JOIN loaded ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
list(JOIN better ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS)
list(JOIN possible ", " CPACK_DEBIAN_PACKAGE_SUGGESTS)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${TESSARIN_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"workspace for the command-line coding agents of several vendors
One window in front of the coding agents that a developer already pays
for: Grok Build, Codex, Kimi Code, OpenCode with the Z.AI Coding Plan and
Claude Code. It starts the vendor's program that it finds on the machine,
signed in as the person is, shows the answer, every tool and the plan as
they come, and asks before an agent does what its mode does not allow.
.
A task outlives an allowance: when one subscription is used up, it goes on
with the next runtime and a written briefing. Images and videos are
generated into a library on the machine, and a paired device can watch and
drive the window over an encrypted connection.
.
The vendors' programs are not part of this package.")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessarin)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/package")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
