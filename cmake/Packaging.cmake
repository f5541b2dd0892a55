# The Debian package: `cpack -G DEB` in a build configured with the prefix /usr
# (scripts/package does it all). Everything `cmake --install` puts in place goes in;
# the libraries it needs are worked out from the binaries by dpkg-shlibdeps.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Velmora developers")
set(CPACK_PACKAGE_CONTACT "Velmora <${VELMORA_SUPPORT_EMAIL}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tiny planet photo studio")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Velmora <${VELMORA_SUPPORT_EMAIL}>")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${VELMORA_HOMEPAGE_URL})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt loads its TIFF and WebP readers as plugins, which dpkg-shlibdeps cannot see.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-image-formats-plugins")
if(VELMORA_SYSTEM_LATO_THIN)
    string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", fonts-lato")
endif()
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The long description; CPack indents it as control files want it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Velmora wraps a photograph, ideally a 360-degree equirectangular panorama,
round a point into a square tiny planet. Grade it, place glows, flares and
stickers on it, and export it as PNG, JPEG, WebP or 16-bit TIFF, or as a
spinning animation in MP4, WebP or GIF.

The same renderer works from the command line without a window, for
batches of pictures and scripts (velmora render, velmora animate).")

include(CPack)
