# SPDX-License-Identifier: GPL-3.0-or-later
# What `cmake --install` puts where. Texts and drawings are embedded; the icons below are for the
# desktop's own lists.
include(GNUInstallDirs)

install(TARGETS kestrin RUNTIME)
# Where the binary looks for it: beside the folder it is in, whatever the distribution's own
# library folder is called.
if(TARGET kestrin_program)
    install(TARGETS kestrin_program LIBRARY DESTINATION lib/kestrin)
endif()

configure_file(resources/com.quorvane.Kestrin3.service.in com.quorvane.Kestrin3.service @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/com.quorvane.Kestrin3.service"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/dbus-1/services")
install(FILES resources/com.quorvane.Kestrin3.desktop
    DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")

set(icons "${CMAKE_INSTALL_DATADIR}/icons/hicolor")
install(FILES resources/icons/kestrin.svg DESTINATION "${icons}/scalable/apps")
install(FILES
        resources/icons/kestrin-trash-empty-symbolic.svg
        resources/icons/kestrin-trash-full-symbolic.svg
    DESTINATION "${icons}/symbolic/status")
