# SPDX-License-Identifier: GPL-3.0-or-later
# What `cmake --install` puts where. Texts and drawings are embedded; the icons below are for the
# desktop's own lists.
include(GNUInstallDirs)

install(TARGETS kestrin RUNTIME)
# Where the binary looks for them: beside the folder it is in, whatever the distribution's own
# library folder is called. The helper there is what the program installs when the user agrees.
install(TARGETS kestrin_program kestrin_helper_library LIBRARY DESTINATION lib/kestrin)
install(TARGETS com.quorvane.Kestrin3Helper RUNTIME DESTINATION lib/kestrin)
install(TARGETS com.quorvane.Kestrin3Viewer RUNTIME DESTINATION lib/kestrin)
if(KESTRIN_WITH_MEDIA)
    install(TARGETS com.quorvane.Kestrin3MediaViewer RUNTIME DESTINATION lib/kestrin)
endif()
install(FILES resources/helper/Uninstall.sh DESTINATION lib/kestrin)

# A package brings the helper ready for use, and the program asks nothing. Its places do not depend
# on the prefix: the bus and the policy service look nowhere else.
string(COMPARE EQUAL "${CMAKE_INSTALL_PREFIX}" "/usr" is_package)
option(KESTRIN_INSTALL_HELPER "Install the privileged helper for the whole system" ${is_package})
if(KESTRIN_INSTALL_HELPER)
    install(TARGETS com.quorvane.Kestrin3Helper RUNTIME DESTINATION /usr/libexec)
    install(FILES resources/helper/com.quorvane.Kestrin3Helper.service
        DESTINATION /usr/share/dbus-1/system-services)
    install(FILES resources/helper/com.quorvane.Kestrin3Helper.conf
        DESTINATION /usr/share/dbus-1/system.d)
    install(FILES resources/helper/com.quorvane.kestrin-3.policy
        DESTINATION /usr/share/polkit-1/actions)
endif()

configure_file(resources/com.quorvane.Kestrin3.service.in com.quorvane.Kestrin3.service @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/com.quorvane.Kestrin3.service"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/dbus-1/services")
install(FILES resources/com.quorvane.Kestrin3.desktop
    DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
install(FILES resources/com.quorvane.Kestrin3.metainfo.xml
    DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")

set(icons "${CMAKE_INSTALL_DATADIR}/icons/hicolor")
install(FILES resources/icons/kestrin.svg DESTINATION "${icons}/scalable/apps")
install(FILES
        resources/icons/kestrin-trash-empty-symbolic.svg
        resources/icons/kestrin-trash-full-symbolic.svg
    # The one folder of symbolic icons that hicolor's index names everywhere.
    DESTINATION "${icons}/symbolic/apps")
