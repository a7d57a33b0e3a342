<?xml version="1.0" encoding="utf-8"?>
<!-- SPDX-License-Identifier: GPL-3.0-or-later -->
<!-- Sorted by key. "%@" stands for a value, in the order that the program hands them over. -->
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name></name>
    <message id="busy_plur">
        <source></source>
        <translation>%@ items are in use and were not erased.</translation>
    </message>
    <message id="busy_sing">
        <source></source>
        <translation>One item is in use and was not erased.</translation>
    </message>
    <message id="cant_create_menu">
        <source></source>
        <translation>Kestrin has no place in the status area.</translation>
    </message>
    <message id="cant_create_menu_mess">
        <source></source>
        <translation>Kestrin can’t work without its menu there and will quit now. Add a status area (system tray) to your desktop and start Kestrin again, or use its commands in a terminal: “kestrin help” lists them.</translation>
    </message>
    <message id="checked_left_out">
        <source></source>
        <translation>What is checked cannot be erased now.</translation>
    </message>
    <message id="full_disk_access_authorization">
        <source></source>
        <translation>Kestrin needs full disk access.</translation>
    </message>
    <message id="full_disk_access_authorization_mess">
        <source></source>
        <translation>Without it, some items in your trashes can’t be seen or erased. Allow it in the system settings, then start Kestrin again.</translation>
    </message>
    <message id="helper_busy">
        <source></source>
        <translation>Kestrin’s helper is busy with an earlier erase. Try again when that is over.</translation>
    </message>
    <message id="helper_cancelled">
        <source></source>
        <translation>The administrator’s password was not entered. Items that need it stay in the trash.</translation>
    </message>
    <message id="helper_ended">
        <source></source>
        <translation>Kestrin’s helper ended before its work was done.</translation>
    </message>
    <message id="helper_failed">
        <source></source>
        <translation>Kestrin’s helper could not do its work (%@).</translation>
    </message>
    <message id="helper_hangs">
        <source></source>
        <translation>Kestrin’s helper was stopped while a disk did not answer. What it was erasing there may still go.</translation>
    </message>
    <message id="helper_install_failed">
        <source></source>
        <translation>Kestrin’s helper could not be installed or removed: %@</translation>
    </message>
    <message id="helper_interrupted">
        <source></source>
        <translation>Kestrin’s helper was interrupted before its work was done.</translation>
    </message>
    <message id="helper_no_bus">
        <source></source>
        <translation>Kestrin can’t reach the system bus, and so not its helper.</translation>
    </message>
    <message id="helper_not_answering">
        <source></source>
        <translation>Kestrin’s helper does not answer.</translation>
    </message>
    <message id="helper_not_current">
        <source></source>
        <translation>Items that need administrator rights stay: Kestrin needs version %@ of its helper. The one that is installed: %@</translation>
    </message>
    <message id="helper_not_installed">
        <source></source>
        <translation>Items that need administrator rights stay: Kestrin’s helper is not installed. Kestrin in the status area offers to install it.</translation>
    </message>
    <message id="helper_program_missing">
        <source></source>
        <translation>Kestrin’s helper can’t be installed: its program is missing. Install Kestrin again.</translation>
    </message>
    <message id="helper_program_untrusted">
        <source></source>
        <translation>Kestrin’s helper can’t be installed: others may have changed its program %@.</translation>
    </message>
    <message id="helper_unknown">
        <source></source>
        <translation>The system bus does not know Kestrin’s helper.</translation>
    </message>
    <message id="login_error">
        <source></source>
        <translation>Kestrin can’t be set to start at login.</translation>
    </message>
    <message id="no_marked_items">
        <source></source>
        <translation>Nothing is checked. Check what you want to erase.</translation>
    </message>
    <message id="not_erased">
        <source></source>
        <translation>Some items could not be erased.</translation>
    </message>
    <message id="not_opened">
        <source></source>
        <translation>“%@” was not opened.</translation>
    </message>
    <message id="not_opened_plur">
        <source></source>
        <translation>%@ items were not opened.</translation>
    </message>
    <message id="older_version_failed">
        <source></source>
        <translation>The helper of Kestrin %@ could not be removed.</translation>
    </message>
    <message id="open_no_opener">
        <source></source>
        <translation>The desktop has no program that opens this kind of item.</translation>
    </message>
    <message id="open_refused">
        <source></source>
        <translation>Programs, executable scripts and launchers would run when they are opened. Kestrin does not run what is in the trash.</translation>
    </message>
    <message id="open_several_reasons">
        <source></source>
        <translation>Some are programs, scripts or launchers, which Kestrin does not run from the trash. Others cannot be read, or no program opens them.</translation>
    </message>
    <message id="open_silent">
        <source></source>
        <translation>The volume is not answering. Try again when it does.</translation>
    </message>
    <message id="open_too_many">
        <source></source>
        <translation>Too many items are selected to open all of them.</translation>
    </message>
    <message id="open_too_many_mess">
        <source></source>
        <translation>Select %@ items at most.</translation>
    </message>
    <message id="open_unreadable">
        <source></source>
        <translation>What is not there any more, or may not be read, cannot be opened.</translation>
    </message>
    <message id="pkexec_missing">
        <source></source>
        <translation>Kestrin can’t ask for an administrator’s password: the program pkexec is not installed.</translation>
    </message>
    <message id="trash_entry_has_no_name">
        <source></source>
        <translation>not the name of an entry</translation>
    </message>
    <message id="trash_entry_is_in_no_trash">
        <source></source>
        <translation>it does not lie directly in one of your trashes</translation>
    </message>
    <message id="trash_entry_is_relative">
        <source></source>
        <translation>not an absolute path</translation>
    </message>
    <message id="trash_path_is_link">
        <source></source>
        <translation>the trash folder is a link</translation>
    </message>
    <message id="trash_path_is_no_folder">
        <source></source>
        <translation>it is not a folder</translation>
    </message>
    <message id="trash_path_is_not_own">
        <source></source>
        <translation>it belongs to another user</translation>
    </message>
    <message id="trash_path_is_not_sticky">
        <source></source>
        <translation>it is open to all users and lacks the sticky bit, so that anybody could exchange what is in it</translation>
    </message>
    <message id="uninstall_failed">
        <source></source>
        <translation>Kestrin could not be uninstalled.</translation>
    </message>
    <message id="uninstall_failed_mess">
        <source></source>
        <translation>The helper is still there. An administrator’s password is needed to remove it.</translation>
    </message>
    <message id="user_not_authorized">
        <source></source>
        <translation>Kestrin is not authorized to erase locked items and items that you have no permission to erase. They stay in the trash.</translation>
    </message>
</context>
</TS>
