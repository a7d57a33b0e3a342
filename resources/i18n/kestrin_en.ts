<?xml version="1.0" encoding="utf-8"?>
<!-- SPDX-License-Identifier: GPL-3.0-or-later -->
<!-- Sorted by key. "%@" stands for a value, in the order that the program hands them over. -->
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name></name>
    <message id="Gb">
        <source></source>
        <translation> GB</translation>
    </message>
    <message id="Kb">
        <source></source>
        <translation> kB</translation>
    </message>
    <message id="Kestrin is trying to erase with root authorization.">
        <source></source>
        <translation>Kestrin wants to erase items that need administrator rights.</translation>
    </message>
    <message id="Mb">
        <source></source>
        <translation> MB</translation>
    </message>
    <message id="No Item found">
        <source></source>
        <translation>Item not found</translation>
    </message>
    <message id="Tb">
        <source></source>
        <translation> TB</translation>
    </message>
    <message id="agree_btn">
        <source></source>
        <translation>Agree</translation>
    </message>
    <message id="all_disks">
        <source></source>
        <translation>%@ items, %@</translation>
    </message>
    <message id="all_disks_single">
        <source></source>
        <translation>%@ item, %@</translation>
    </message>
    <message id="all_vols_log_name">
        <source></source>
        <translation>Emptied Trashes</translation>
    </message>
    <message id="app_all_trashes_empty">
        <source></source>
        <translation>All trashes are empty</translation>
    </message>
    <message id="app_counting">
        <source></source>
        <translation>Counting…</translation>
    </message>
    <message id="app_disk_row">
        <source></source>
        <translation>%@: %@</translation>
    </message>
    <message id="app_empty_all">
        <source></source>
        <translation>Empty All Trashes</translation>
    </message>
    <message id="app_is_running">
        <source></source>
        <translation>Kestrin is running. Its icon is in the status area.</translation>
    </message>
    <message id="app_looking">
        <source></source>
        <translation>Looking for trashes…</translation>
    </message>
    <message id="app_name">
        <source></source>
        <translation>Kestrin</translation>
    </message>
    <message id="app_no_display">
        <source></source>
        <translation>No window can be opened here (%@). Start Kestrin within your desktop, or use the terminal commands: see "kestrin help".</translation>
    </message>
    <message id="app_no_trash">
        <source></source>
        <translation>There is no trash to empty</translation>
    </message>
    <message id="app_quit">
        <source></source>
        <translation>Quit Kestrin</translation>
    </message>
    <message id="app_row_not_answering">
        <source></source>
        <translation>Not answering</translation>
    </message>
    <message id="app_row_note">
        <source></source>
        <translation>%@ (%@)</translation>
    </message>
    <message id="app_row_read_only">
        <source></source>
        <translation>Read-only volume</translation>
    </message>
    <message id="app_row_unreadable">
        <source></source>
        <translation>Trash cannot be read</translation>
    </message>
    <message id="app_row_unusable">
        <source></source>
        <translation>Cannot be used: %@</translation>
    </message>
    <message id="app_smart_window">
        <source></source>
        <translation>Smart Window…</translation>
    </message>
    <message id="app_stayed" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ item could not be erased and is still in the trash.</numerusform>
            <numerusform>%@ items could not be erased and are still in the trash.</numerusform>
        </translation>
    </message>
    <message id="app_tool_tip">
        <source></source>
        <translation>%@, %@</translation>
    </message>
    <message id="app_trash_is_empty">
        <source></source>
        <translation>Trash is empty</translation>
    </message>
    <message id="app_trash_unusable">
        <source></source>
        <translation>The trash of “%@” cannot be used. %@</translation>
    </message>
    <message id="app_trashes" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ trash</numerusform>
            <numerusform>%@ trashes</numerusform>
        </translation>
    </message>
    <message id="app_usable_trashes_empty">
        <source></source>
        <translation>All trashes that can be used are empty</translation>
    </message>
    <message id="apply_to_all">
        <source></source>
        <translation>Apply to all</translation>
    </message>
    <message id="ask_add_start_up_disk">
        <source></source>
        <translation>Choose the start-up disk.</translation>
    </message>
    <message id="ask_uninstall">
        <source></source>
        <translation>Do you want to uninstall Kestrin?</translation>
    </message>
    <message id="ask_uninstall_mees">
        <source></source>
        <translation>Kestrin’s helper, its start at login and your settings will be removed. Your trashes and the logs stay as they are.</translation>
    </message>
    <message id="byte">
        <source></source>
        <translation> B</translation>
    </message>
    <message id="cancel_btn">
        <source></source>
        <translation>Cancel</translation>
    </message>
    <message id="check_col">
        <source></source>
        <translation>Checked for erasing</translation>
    </message>
    <message id="checked_details">
        <source></source>
        <translation>What is checked</translation>
    </message>
    <message id="checked_folder">
        <source></source>
        <translation>Original folder</translation>
    </message>
    <message id="checked_hidden" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ checked item is hidden by the filter. It will be erased as well.</numerusform>
            <numerusform>%@ checked items are hidden by the filter. They will be erased as well.</numerusform>
        </translation>
    </message>
    <message id="checked_name">
        <source></source>
        <translation>Name</translation>
    </message>
    <message id="checked_size">
        <source></source>
        <translation>Size</translation>
    </message>
    <message id="checked_volume" numerus="yes">
        <source></source>
        <translation>
            <numerusform>“%@”: %@ checked item</numerusform>
            <numerusform>“%@”: %@ checked items</numerusform>
        </translation>
    </message>
    <message id="checked_volume_went">
        <source></source>
        <translation>Nothing was erased, because “%@” was removed or stopped answering before you answered.</translation>
    </message>
    <message id="cli_ambiguous_volume">
        <source></source>
        <translation>"%@" is the name of several volumes; use one of their paths: %@.</translation>
    </message>
    <message id="cli_and_more">
        <source></source>
        <translation>… and %@ more</translation>
    </message>
    <message id="cli_bad_location">
        <source></source>
        <translation>"%@" is not a file location.</translation>
    </message>
    <message id="cli_column_date_added">
        <source></source>
        <translation>Date added</translation>
    </message>
    <message id="cli_column_items">
        <source></source>
        <translation>Items</translation>
    </message>
    <message id="cli_column_kind">
        <source></source>
        <translation>Kind</translation>
    </message>
    <message id="cli_column_name">
        <source></source>
        <translation>Name</translation>
    </message>
    <message id="cli_column_original_path">
        <source></source>
        <translation>Original path</translation>
    </message>
    <message id="cli_column_path">
        <source></source>
        <translation>Path</translation>
    </message>
    <message id="cli_column_size">
        <source></source>
        <translation>Size</translation>
    </message>
    <message id="cli_column_volume">
        <source></source>
        <translation>Volume</translation>
    </message>
    <message id="cli_confirm_prompt">
        <source></source>
        <translation>Erase for good? [y/N] </translation>
    </message>
    <message id="cli_empty_operand">
        <source></source>
        <translation>A name or path is empty.</translation>
    </message>
    <message id="cli_erased" numerus="yes">
        <source></source>
        <translation>
            <numerusform>Erased %@ item, %@.</numerusform>
            <numerusform>Erased %@ items, %@.</numerusform>
        </translation>
    </message>
    <message id="cli_help">
        <source></source>
        <translation>Usage: kestrin COMMAND [OPTION…]
       kestrin [--empty-all | --smart-window | --preferences | --login | --quit]

Find, count and erase the trash of every mounted volume.

Without a command, on a desktop: show the program in the status area, with a
menu of all trashes. A program that runs already is used:
  --empty-all     have it empty all trashes; starts it where it does not run
  --smart-window  have it open the Smart Window; starts it where it does not run
  --preferences   have it open the preferences; starts it where it does not run
  --login         start it without a window, as the desktop does at login
  --quit          have it end; an erase is stopped first

Commands:
  list            show every trash with its items and bytes
  show [VOLUME…]  show what is in all trashes, or in those of the named volumes
  empty [VOLUME…] empty all trashes, or those of the named volumes
  erase PATH…     erase only these entries of a trash
  help [COMMAND]  explain a command

Options:
  -h, --help      print this page; after a command, the command's page
  --version       print the version

Exit status:
  0  done; all that was to be erased is gone
  1  something stayed, or could not be read or written
  2  usage error; or no terminal to ask on and no --yes
  3  declined or stopped

Erasing is for good: what is erased cannot be brought back.</translation>
    </message>
    <message id="cli_help_empty">
        <source></source>
        <translation>Usage: kestrin empty [VOLUME…] [OPTION…]

Empty all trashes, or those of the named volumes, for good.

VOLUME is the path of a volume, or its name when only one has that name.

Options:
  --kind=KIND        erase only the items of one kind, hidden ones too: those
                     that "kestrin show" lists with this option
  --yes              do not ask for confirmation
  --dry-run          list what would go, change nothing
  --locked=WHAT      what to do with locked items: ask, skip or erase
  --forbidden=WHAT   the same for items that you may not remove
  --no-log           write no log
  --quiet            no progress, and no summary when all went well
  --json             print one object with "erasedCount", "erasedSize",
                     "wasStoppedByUser", "dryRun" and "notErased"
  -h, --help         print this page

WHAT is "ask" unless given; without a terminal that means "skip". Erasing such
items takes Kestrin’s helper and an administrator’s password.
Ctrl-C stops at the next item, a second Ctrl-C at once.

Exit status:
  0  the trashes are empty; with --kind, all items of that kind are gone
  1  something stayed
  2  usage error; or no terminal to ask on and no --yes
  3  declined or stopped

Examples:
  kestrin empty --dry-run
  kestrin empty --kind=movies
  kestrin empty Backup --yes --locked=skip</translation>
    </message>
    <message id="cli_help_erase">
        <source></source>
        <translation>Usage: kestrin erase PATH… [OPTION…]

Erase only these entries of a trash, for good. Each must lie directly inside
a trash folder of yours; otherwise nothing at all is touched.

PATH is a path, or a location as "kestrin show --json" prints it.

Options:
  --yes              do not ask for confirmation
  --dry-run          list what would go, change nothing
  --locked=WHAT      what to do with locked items: ask, skip or erase
  --forbidden=WHAT   the same for items that you may not remove
  --no-log           write no log
  --quiet            no progress, and no summary when all went well
  --json             print one object with "erasedCount", "erasedSize",
                     "wasStoppedByUser", "dryRun" and "notErased"
  -h, --help         print this page
  --                 what follows are paths, even with a hyphen in front

WHAT is "ask" unless given; without a terminal that means "skip". Erasing such
items takes Kestrin’s helper and an administrator’s password.
Ctrl-C stops at the next item, a second Ctrl-C at once.

Exit status:
  0  all of these entries are gone
  1  something stayed
  2  usage error, such as a path outside a trash; or no terminal to ask on
     and no --yes
  3  declined or stopped

Examples:
  kestrin erase ~/.local/share/Trash/files/old.iso
  kestrin erase --yes file:///media/backup/.Trash-1000/files/a%0Ab</translation>
    </message>
    <message id="cli_help_hint">
        <source></source>
        <translation>See "%@".</translation>
    </message>
    <message id="cli_help_list">
        <source></source>
        <translation>Usage: kestrin list [--json]

Show every trash: volume name, volume path, items at every depth, bytes.
The last line holds the totals. Changes nothing on disk.

Options:
  --json      print an array of objects with "volumeName", "volumePath",
              "trashURL", "trashIsEmpty", "size" and "count"
  -h, --help  print this page

A trash that holds nothing but hidden items counts as empty in
"trashIsEmpty"; "size" and "count" tell what it holds.

Exit status:
  0  done
  1  a trash could not be read
  2  usage error</translation>
    </message>
    <message id="cli_help_show">
        <source></source>
        <translation>Usage: kestrin show [VOLUME…] [OPTION…]

Show the entries of all trashes, or of those of the named volumes: name, size,
items that go with it, date added, original path. Changes nothing on disk.

VOLUME is the path of a volume, or its name when only one has that name.

Options:
  --kind=KIND  only items of one kind: images, sounds, movies, archives,
               documents, text, fonts, folders or other; all is the default
  --sort=name  by name; this is the default
  --sort=size  largest first
  --sort=date  newest first, entries without a date last
  --sort=kind  in the order of the kinds above, which a column then tells
  --json       print an array of objects with "name", "url", "size", "count",
               "isDirectory", "kind", "dateAdded", "originalPath" and
               "volumePath"
  -h, --help   print this page

Every item is of one kind, by its name; a folder is of the kind folders, and
a link of the kind other, whatever they are called.

The "url" holds the exact bytes of a name, and "kestrin erase" takes it.

Exit status:
  0  done
  1  a trash could not be read
  2  usage error, such as an unknown volume

Examples:
  kestrin show --sort=size
  kestrin show --kind=movies /media/backup --json</translation>
    </message>
    <message id="cli_kind_not_known">
        <source></source>
        <translation>Some items of the trash "%@" could not be looked at, and stay: they may be of any kind.</translation>
    </message>
    <message id="cli_mounts_unknown">
        <source></source>
        <translation>Which volumes are mounted could not be found out.</translation>
    </message>
    <message id="cli_needs_desktop">
        <source></source>
        <translation>The option "%@" needs a desktop, and there is none here.</translation>
    </message>
    <message id="cli_no_command">
        <source></source>
        <translation>A command is missing.</translation>
    </message>
    <message id="cli_no_terminal">
        <source></source>
        <translation>There is no terminal to ask on; use --yes to erase without a confirmation.</translation>
    </message>
    <message id="cli_no_trash">
        <source></source>
        <translation>No volume with a trash was found.</translation>
    </message>
    <message id="cli_none_of_kind">
        <source></source>
        <translation>The trash holds nothing of the kind "%@".</translation>
    </message>
    <message id="cli_not_answering">
        <source></source>
        <translation>%@ does not answer.</translation>
    </message>
    <message id="cli_nothing_erased">
        <source></source>
        <translation>Nothing was erased.</translation>
    </message>
    <message id="cli_option_needs_value">
        <source></source>
        <translation>The option "%@" needs a value; known are: %@.</translation>
    </message>
    <message id="cli_option_takes_no_value">
        <source></source>
        <translation>The option "%@" takes no value.</translation>
    </message>
    <message id="cli_output_failed">
        <source></source>
        <translation>The output could not be written: %@.</translation>
    </message>
    <message id="cli_perhaps_there">
        <source></source>
        <translation>It cannot be looked at any more, and may still be there.</translation>
    </message>
    <message id="cli_progress_count">
        <source></source>
        <translation>%@ of %@ items</translation>
    </message>
    <message id="cli_progress_erasing">
        <source></source>
        <translation>Erasing…</translation>
    </message>
    <message id="cli_progress_rate">
        <source></source>
        <translation>%@/s</translation>
    </message>
    <message id="cli_refused_prompt">
        <source></source>
        <translation>[s]kip, [e]rase (add "all" for all): </translation>
    </message>
    <message id="cli_stayed" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ item stayed:</numerusform>
            <numerusform>%@ items stayed:</numerusform>
        </translation>
    </message>
    <message id="cli_still_there">
        <source></source>
        <translation>It is still there.</translation>
    </message>
    <message id="cli_stopping">
        <source></source>
        <translation>Stopping…</translation>
    </message>
    <message id="cli_system_refused">
        <source></source>
        <translation>The system lacks what this takes: %@.</translation>
    </message>
    <message id="cli_too_few_operands">
        <source></source>
        <translation>"%@" needs to be told what to erase.</translation>
    </message>
    <message id="cli_too_many_operands">
        <source></source>
        <translation>"%@" is one too many.</translation>
    </message>
    <message id="cli_total">
        <source></source>
        <translation>Total</translation>
    </message>
    <message id="cli_trash_is_empty">
        <source></source>
        <translation>The trash is empty.</translation>
    </message>
    <message id="cli_unknown_command">
        <source></source>
        <translation>Unknown command "%@".</translation>
    </message>
    <message id="cli_unknown_figure">
        <source></source>
        <translation>?</translation>
    </message>
    <message id="cli_unknown_option">
        <source></source>
        <translation>Unknown option "%@".</translation>
    </message>
    <message id="cli_unknown_option_value">
        <source></source>
        <translation>Unknown value "%@" for the option "%@"; known are: %@.</translation>
    </message>
    <message id="cli_unknown_volume">
        <source></source>
        <translation>Unknown volume "%@"; known are: %@.</translation>
    </message>
    <message id="cli_unreadable_trash">
        <source></source>
        <translation>The trash "%@" cannot be read: %@.</translation>
    </message>
    <message id="cli_unusable_trash">
        <source></source>
        <translation>%@: the trash of this volume cannot be used: %@</translation>
    </message>
    <message id="cli_would_erase" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ item would be erased, %@.</numerusform>
            <numerusform>%@ items would be erased, %@.</numerusform>
        </translation>
    </message>
    <message id="cli_would_stay" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ item would stay:</numerusform>
            <numerusform>%@ items would stay:</numerusform>
        </translation>
    </message>
    <message id="contact">
        <source></source>
        <translation>mailto:kestrin@quorvane.com</translation>
    </message>
    <message id="content_list">
        <source></source>
        <translation>Items in the trash</translation>
    </message>
    <message id="crash_dismiss_button">
        <source></source>
        <translation>Don’t Show</translation>
    </message>
    <message id="crash_show_button">
        <source></source>
        <translation>Show Report</translation>
    </message>
    <message id="crash_text">
        <source></source>
        <translation>A report of what happened is kept on this computer. It holds no names of your files, and nothing is sent to anybody. You can attach it when you tell us of the problem.</translation>
    </message>
    <message id="crash_title">
        <source></source>
        <translation>Kestrin ended unexpectedly.</translation>
    </message>
    <message id="date_added_col">
        <source></source>
        <translation>Date Added</translation>
    </message>
    <message id="day">
        <source></source>
        <translation>day </translation>
    </message>
    <message id="days">
        <source></source>
        <translation>days </translation>
    </message>
    <message id="delete_mess">
        <source></source>
        <translation>The items will be erased at once. You can’t undo this.</translation>
    </message>
    <message id="disagree_btn">
        <source></source>
        <translation>Disagree</translation>
    </message>
    <message id="disclaimer">
        <source></source>
        <translation>Kestrin erases what is in your trashes for good, and nothing can bring it back. You use it at your own risk. Do you agree?</translation>
    </message>
    <message id="do_not_uninstall_button">
        <source></source>
        <translation>Don’t Uninstall</translation>
    </message>
    <message id="done_button">
        <source></source>
        <translation>&amp;Done</translation>
    </message>
    <message id="dont_install_button">
        <source></source>
        <translation>Don’t Install</translation>
    </message>
    <message id="dont_update_button">
        <source></source>
        <translation>Don’t Update</translation>
    </message>
    <message id="empty_all_hint">
        <source></source>
        <translation>There is nothing to erase. What you throw away appears here.</translation>
    </message>
    <message id="empty_bin_menu_item_title">
        <source></source>
        <translation>Empty Trash of Disk</translation>
    </message>
    <message id="empty_no_match">
        <source></source>
        <translation>No item matches the filter</translation>
    </message>
    <message id="empty_no_match_hint">
        <source></source>
        <translation>Clear the text and choose “All kinds” to see every item. What is checked stays checked.</translation>
    </message>
    <message id="empty_no_trash">
        <source></source>
        <translation>There is no trash to show</translation>
    </message>
    <message id="empty_no_trash_hint">
        <source></source>
        <translation>A volume is listed as soon as it is connected and has a trash.</translation>
    </message>
    <message id="empty_not_answering">
        <source></source>
        <translation>This volume is not answering</translation>
    </message>
    <message id="empty_not_answering_hint">
        <source></source>
        <translation>Its items are shown when it answers again. Choose another trash meanwhile.</translation>
    </message>
    <message id="empty_selection">
        <source></source>
        <translation>Nothing is selected</translation>
    </message>
    <message id="empty_selection_hint">
        <source></source>
        <translation>Select items in the list to see more about them. Check those that you want to erase.</translation>
    </message>
    <message id="empty_trash">
        <source></source>
        <translation>This trash is empty</translation>
    </message>
    <message id="empty_trash_button">
        <source></source>
        <translation>Empty Trash</translation>
    </message>
    <message id="empty_trash_hint">
        <source></source>
        <translation>There is nothing to erase here. Choose another trash in the list at the side.</translation>
    </message>
    <message id="end_delete_all">
        <source></source>
        <translation>Finished emptying every chosen trash.</translation>
    </message>
    <message id="end_delete_checked">
        <source></source>
        <translation>Finished erasing the checked items.</translation>
    </message>
    <message id="end_delete_single">
        <source></source>
        <translation>Finished emptying the trash.</translation>
    </message>
    <message id="entry_album">
        <source></source>
        <translation>Album</translation>
    </message>
    <message id="entry_artist">
        <source></source>
        <translation>Artist</translation>
    </message>
    <message id="entry_bit_rate">
        <source></source>
        <translation>Bit rate</translation>
    </message>
    <message id="entry_camera">
        <source></source>
        <translation>Camera</translation>
    </message>
    <message id="entry_created">
        <source></source>
        <translation>Created</translation>
    </message>
    <message id="entry_date_taken">
        <source></source>
        <translation>Date taken</translation>
    </message>
    <message id="entry_dimension">
        <source></source>
        <translation>Dimensions</translation>
    </message>
    <message id="entry_is_gone">
        <source></source>
        <translation>No longer in the trash</translation>
    </message>
    <message id="entry_kind">
        <source></source>
        <translation>Kind and size</translation>
    </message>
    <message id="entry_kind_and_size">
        <source></source>
        <translation>%@, %@</translation>
    </message>
    <message id="entry_latitude">
        <source></source>
        <translation>Latitude</translation>
    </message>
    <message id="entry_longitude">
        <source></source>
        <translation>Longitude</translation>
    </message>
    <message id="entry_modified">
        <source></source>
        <translation>Changed</translation>
    </message>
    <message id="entry_name">
        <source></source>
        <translation>Name</translation>
    </message>
    <message id="entry_original_folder">
        <source></source>
        <translation>From</translation>
    </message>
    <message id="entry_place">
        <source></source>
        <translation>Place in the trash</translation>
    </message>
    <message id="entry_size_is_measured">
        <source></source>
        <translation>…</translation>
    </message>
    <message id="entry_song_name">
        <source></source>
        <translation>Title</translation>
    </message>
    <message id="entry_time">
        <source></source>
        <translation>Duration</translation>
    </message>
    <message id="entry_trashed">
        <source></source>
        <translation>Trashed</translation>
    </message>
    <message id="entry_unknown">
        <source></source>
        <translation>–</translation>
    </message>
    <message id="erase">
        <source></source>
        <translation>Erase</translation>
    </message>
    <message id="erase_all">
        <source></source>
        <translation>Empty all trashes?</translation>
    </message>
    <message id="erase_checked_button">
        <source></source>
        <translation>Erase Items</translation>
    </message>
    <message id="erase_gave_up">
        <source></source>
        <translation>The erase had to end before everything was erased: %@.</translation>
    </message>
    <message id="erase_vol">
        <source></source>
        <translation>Empty the trash of “%@”?</translation>
    </message>
    <message id="erasing">
        <source></source>
        <translation>Erasing the items of “%@”…</translation>
    </message>
    <message id="erasing_all">
        <source></source>
        <translation>Erasing the items of all disks…</translation>
    </message>
    <message id="erasing_smart_window">
        <source></source>
        <translation>Erasing the checked items…</translation>
    </message>
    <message id="gathering_bin_info">
        <source></source>
        <translation>Counting the items…</translation>
    </message>
    <message id="gathering_info">
        <source></source>
        <translation>Counting the items…</translation>
    </message>
    <message id="info_title">
        <source></source>
        <translation>What Is New in Kestrin %@</translation>
    </message>
    <message id="install_button">
        <source></source>
        <translation>Install</translation>
    </message>
    <message id="install_helper_tool">
        <source></source>
        <translation>Do you want to install Kestrin’s helper?</translation>
    </message>
    <message id="items_erased">
        <source></source>
        <translation>%@ erased. %@ %@&#10;</translation>
    </message>
    <message id="items_size" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ item, %@</numerusform>
            <numerusform>%@ items, %@</numerusform>
        </translation>
    </message>
    <message id="key_empty_all">
        <source></source>
        <translation>Empty all trashes</translation>
    </message>
    <message id="key_smart_window">
        <source></source>
        <translation>Open the Smart Window</translation>
    </message>
    <message id="key_super">
        <source></source>
        <translation>Super</translation>
    </message>
    <message id="kind_all">
        <source></source>
        <translation>All kinds</translation>
    </message>
    <message id="kind_archives">
        <source></source>
        <translation>Archives</translation>
    </message>
    <message id="kind_documents">
        <source></source>
        <translation>Documents</translation>
    </message>
    <message id="kind_folders">
        <source></source>
        <translation>Folders</translation>
    </message>
    <message id="kind_fonts">
        <source></source>
        <translation>Fonts</translation>
    </message>
    <message id="kind_images">
        <source></source>
        <translation>Images</translation>
    </message>
    <message id="kind_movies">
        <source></source>
        <translation>Movies</translation>
    </message>
    <message id="kind_other">
        <source></source>
        <translation>Other</translation>
    </message>
    <message id="kind_sounds">
        <source></source>
        <translation>Sounds</translation>
    </message>
    <message id="kind_text">
        <source></source>
        <translation>Text</translation>
    </message>
    <message id="label_blue">
        <source></source>
        <translation>Blue</translation>
    </message>
    <message id="label_green">
        <source></source>
        <translation>Green</translation>
    </message>
    <message id="label_grey">
        <source></source>
        <translation>Grey</translation>
    </message>
    <message id="label_none">
        <source></source>
        <translation>None</translation>
    </message>
    <message id="label_of_name">
        <source></source>
        <translation>%@, label %@</translation>
    </message>
    <message id="label_orange">
        <source></source>
        <translation>Orange</translation>
    </message>
    <message id="label_purple">
        <source></source>
        <translation>Purple</translation>
    </message>
    <message id="label_red">
        <source></source>
        <translation>Red</translation>
    </message>
    <message id="label_tool_tip">
        <source></source>
        <translation>%@
Label: %@</translation>
    </message>
    <message id="label_yellow">
        <source></source>
        <translation>Yellow</translation>
    </message>
    <message id="left_out">
        <source></source>
        <translation>“%@” is left out: %@.</translation>
    </message>
    <message id="log_cannot_be_used">
        <source></source>
        <translation>“%@”: %@</translation>
    </message>
    <message id="log_is_a_link">
        <source></source>
        <translation>“%@” is a link. The log does not follow links.</translation>
    </message>
    <message id="log_is_not_a_file">
        <source></source>
        <translation>“%@” is not a file that a log can be written to.</translation>
    </message>
    <message id="log_name">
        <source></source>
        <translation> %@.log</translation>
    </message>
    <message id="marked_info">
        <source></source>
        <translation>%@ - %@</translation>
    </message>
    <message id="marked_millions">
        <source></source>
        <translation>%@M</translation>
    </message>
    <message id="marked_thousands">
        <source></source>
        <translation>%@K</translation>
    </message>
    <message id="menu_contact">
        <source></source>
        <translation>Contact…</translation>
    </message>
    <message id="menu_copy_name">
        <source></source>
        <translation>Copy &amp;Name</translation>
    </message>
    <message id="menu_copy_path">
        <source></source>
        <translation>Copy &amp;Path</translation>
    </message>
    <message id="menu_help">
        <source></source>
        <translation>Help</translation>
    </message>
    <message id="menu_keys">
        <source></source>
        <translation>%@ (%@)</translation>
    </message>
    <message id="menu_mark">
        <source></source>
        <translation>&amp;Check</translation>
    </message>
    <message id="menu_newsletter">
        <source></source>
        <translation>Newsletter…</translation>
    </message>
    <message id="menu_open">
        <source></source>
        <translation>&amp;Open</translation>
    </message>
    <message id="menu_preferences">
        <source></source>
        <translation>Preferences…</translation>
    </message>
    <message id="menu_reveal">
        <source></source>
        <translation>Show in &amp;File Manager</translation>
    </message>
    <message id="menu_sort">
        <source></source>
        <translation>&amp;Sort By</translation>
    </message>
    <message id="menu_tell_friend">
        <source></source>
        <translation>Tell a Friend…</translation>
    </message>
    <message id="menu_toggle">
        <source></source>
        <translation>&amp;Invert Checks</translation>
    </message>
    <message id="menu_uninstall">
        <source></source>
        <translation>Uninstall Kestrin…</translation>
    </message>
    <message id="menu_unmark">
        <source></source>
        <translation>&amp;Uncheck</translation>
    </message>
    <message id="menu_updates">
        <source></source>
        <translation>Check for Updates…</translation>
    </message>
    <message id="menu_welcome">
        <source></source>
        <translation>Welcome to Kestrin</translation>
    </message>
    <message id="name_col">
        <source></source>
        <translation>Name</translation>
    </message>
    <message id="name_from_folder">
        <source></source>
        <translation>%@, from %@</translation>
    </message>
    <message id="news_failed">
        <source></source>
        <translation>No program opened the page. You can copy its address into your browser.</translation>
    </message>
    <message id="news_opened">
        <source></source>
        <translation>The page opens in your browser.</translation>
    </message>
    <message id="news_opened_before">
        <source></source>
        <translation>You have opened this page before. It is also the place to cancel the newsletter.</translation>
    </message>
    <message id="news_page">
        <source></source>
        <translation>https://quorvane.com/kestrin/newsletter</translation>
    </message>
    <message id="news_page_button">
        <source></source>
        <translation>&amp;Open Page</translation>
    </message>
    <message id="news_private">
        <source></source>
        <translation>Kestrin itself sends nothing: the page opens in your browser.</translation>
    </message>
    <message id="news_text">
        <source></source>
        <translation>The newsletter tells you by email when there is a new version of Kestrin. You subscribe on this page:</translation>
    </message>
    <message id="news_title">
        <source></source>
        <translation>Newsletter</translation>
    </message>
    <message id="no_btn">
        <source></source>
        <translation>Cancel</translation>
    </message>
    <message id="no_file_kind">
        <source></source>
        <translation>Unknown kind</translation>
    </message>
    <message id="no_progress_view">
        <source></source>
        <translation>The progress of the erase can’t be shown, so nothing was erased.</translation>
    </message>
    <message id="ok_btn">
        <source></source>
        <translation>OK</translation>
    </message>
    <message id="older_version_ask">
        <source></source>
        <translation>Do you want to remove what is left of Kestrin %@?</translation>
    </message>
    <message id="older_version_keep">
        <source></source>
        <translation>Keep</translation>
    </message>
    <message id="older_version_mess">
        <source></source>
        <translation>Its settings, its start at login and its helper are of no use to this version.</translation>
    </message>
    <message id="older_version_remove">
        <source></source>
        <translation>Remove</translation>
    </message>
    <message id="open_log_file_error">
        <source></source>
        <translation>The log file can’t be opened, so nothing was erased. Make room for the log or allow Kestrin to write to its log folder, or turn the log off in the preferences.</translation>
    </message>
    <message id="panel_between">
        <source></source>
        <translation> – </translation>
    </message>
    <message id="panel_changed">
        <source></source>
        <translation>changed %@</translation>
    </message>
    <message id="panel_full_screen">
        <source></source>
        <translation>Full Screen</translation>
    </message>
    <message id="panel_index_sheet">
        <source></source>
        <translation>All Selected Entries</translation>
    </message>
    <message id="panel_next">
        <source></source>
        <translation>Next</translation>
    </message>
    <message id="panel_nothing">
        <source></source>
        <translation>Nothing is selected. Select an entry in the list to see what it is.</translation>
    </message>
    <message id="panel_open">
        <source></source>
        <translation>Open with Default Program</translation>
    </message>
    <message id="panel_position">
        <source></source>
        <translation>%@ of %@</translation>
    </message>
    <message id="panel_previous">
        <source></source>
        <translation>Previous</translation>
    </message>
    <message id="panel_reveal">
        <source></source>
        <translation>Show in File Manager</translation>
    </message>
    <message id="panel_title">
        <source></source>
        <translation>Quick Look</translation>
    </message>
    <message id="panel_tools">
        <source></source>
        <translation>Quick Look Tools</translation>
    </message>
    <message id="prefs_ask">
        <source></source>
        <translation>&amp;Ask before erasing</translation>
    </message>
    <message id="prefs_empty_all">
        <source></source>
        <translation>&amp;Empty all trashes:</translation>
    </message>
    <message id="prefs_general">
        <source></source>
        <translation>General</translation>
    </message>
    <message id="prefs_helper">
        <source></source>
        <translation>Helper</translation>
    </message>
    <message id="prefs_helper_absent">
        <source></source>
        <translation>The helper is not installed. Items that take an administrator’s rights stay in the trash.</translation>
    </message>
    <message id="prefs_helper_asking">
        <source></source>
        <translation>Looking for the helper…</translation>
    </message>
    <message id="prefs_helper_current">
        <source></source>
        <translation>The helper, version %@, is installed. It erases items that take an administrator’s rights.</translation>
    </message>
    <message id="prefs_helper_install">
        <source></source>
        <translation>&amp;Install…</translation>
    </message>
    <message id="prefs_helper_other">
        <source></source>
        <translation>A helper is installed that Kestrin cannot work with: %@</translation>
    </message>
    <message id="prefs_helper_packaged">
        <source></source>
        <translation>It came with the package %@, which this command removes: %@</translation>
    </message>
    <message id="prefs_helper_packaged_other">
        <source></source>
        <translation>It came with the package %@, which this command updates: %@</translation>
    </message>
    <message id="prefs_helper_remove">
        <source></source>
        <translation>Re&amp;move…</translation>
    </message>
    <message id="prefs_helper_update">
        <source></source>
        <translation>&amp;Update…</translation>
    </message>
    <message id="prefs_helper_working">
        <source></source>
        <translation>Waiting for an administrator’s password…</translation>
    </message>
    <message id="prefs_keys_clear">
        <source></source>
        <translation>Clear the shortcut of “%@”</translation>
    </message>
    <message id="prefs_keys_configure">
        <source></source>
        <translation>C&amp;hange…</translation>
    </message>
    <message id="prefs_keys_default">
        <source></source>
        <translation>When this window closes, the default %@ comes back.</translation>
    </message>
    <message id="prefs_keys_need_modifier">
        <source></source>
        <translation>Hold Ctrl, Alt or Super down, too. Function keys can stand alone.</translation>
    </message>
    <message id="prefs_keys_no_way">
        <source></source>
        <translation>This desktop lets no program have shortcuts. Bind these commands in its keyboard settings instead.</translation>
    </message>
    <message id="prefs_keys_none">
        <source></source>
        <translation>None</translation>
    </message>
    <message id="prefs_keys_of_desktop">
        <source></source>
        <translation>The desktop decides on these shortcuts.</translation>
    </message>
    <message id="prefs_keys_of_empty_all">
        <source></source>
        <translation>Empty all trashes</translation>
    </message>
    <message id="prefs_keys_of_smart_window">
        <source></source>
        <translation>Open the Smart Window</translation>
    </message>
    <message id="prefs_keys_pending">
        <source></source>
        <translation>The desktop has not answered yet.</translation>
    </message>
    <message id="prefs_keys_recording">
        <source></source>
        <translation>Press the new shortcut…</translation>
    </message>
    <message id="prefs_keys_refused">
        <source></source>
        <translation>The desktop has given no keys for this.</translation>
    </message>
    <message id="prefs_keys_taken">
        <source></source>
        <translation>%@ is taken by the desktop or another program.</translation>
    </message>
    <message id="prefs_keys_taken_by">
        <source></source>
        <translation>%@ is taken by “%@”.</translation>
    </message>
    <message id="prefs_keys_unavailable">
        <source></source>
        <translation>%@ does not work on this keyboard.</translation>
    </message>
    <message id="prefs_keys_unknown">
        <source></source>
        <translation>This key cannot be a shortcut.</translation>
    </message>
    <message id="prefs_locked">
        <source></source>
        <translation>Erase loc&amp;ked items without asking first</translation>
    </message>
    <message id="prefs_log">
        <source></source>
        <translation>Log</translation>
    </message>
    <message id="prefs_log_days">
        <source></source>
        <translation>Start a &amp;new file:</translation>
    </message>
    <message id="prefs_log_each">
        <source></source>
        <translation>For each erase</translation>
    </message>
    <message id="prefs_log_every" numerus="yes">
        <source></source>
        <translation>
            <numerusform>Every day</numerusform>
            <numerusform>Every %@ days</numerusform>
        </translation>
    </message>
    <message id="prefs_login">
        <source></source>
        <translation>&amp;Start at login</translation>
    </message>
    <message id="prefs_no_logs">
        <source></source>
        <translation>There are no logs yet.</translation>
    </message>
    <message id="prefs_no_logs_mess">
        <source></source>
        <translation>Kestrin writes one when it erases something.</translation>
    </message>
    <message id="prefs_restore_values">
        <source></source>
        <translation>&amp;Restore Settings</translation>
    </message>
    <message id="prefs_restore_warnings">
        <source></source>
        <translation>Restore Warnin&amp;gs</translation>
    </message>
    <message id="prefs_shortcuts">
        <source></source>
        <translation>Shortcuts</translation>
    </message>
    <message id="prefs_show_logs">
        <source></source>
        <translation>Show L&amp;ogs</translation>
    </message>
    <message id="prefs_smart_window">
        <source></source>
        <translation>Open the Smart &amp;Window:</translation>
    </message>
    <message id="prefs_title">
        <source></source>
        <translation>Preferences</translation>
    </message>
    <message id="prefs_write_log">
        <source></source>
        <translation>Write a &amp;log</translation>
    </message>
    <message id="preview_accessible_entries">
        <source></source>
        <translation>Contents of %@</translation>
    </message>
    <message id="preview_accessible_icon">
        <source></source>
        <translation>Icon of %@</translation>
    </message>
    <message id="preview_accessible_picture">
        <source></source>
        <translation>Picture of %@</translation>
    </message>
    <message id="preview_accessible_text">
        <source></source>
        <translation>Text of %@</translation>
    </message>
    <message id="preview_at_least">
        <source></source>
        <translation>At least %@</translation>
    </message>
    <message id="preview_fault_crashed">
        <source></source>
        <translation>No preview could be made of this file. It may be damaged.</translation>
    </message>
    <message id="preview_fault_damaged">
        <source></source>
        <translation>The file is damaged.</translation>
    </message>
    <message id="preview_fault_empty">
        <source></source>
        <translation>The file is empty.</translation>
    </message>
    <message id="preview_fault_empty_folder">
        <source></source>
        <translation>The folder is empty.</translation>
    </message>
    <message id="preview_fault_encrypted">
        <source></source>
        <translation>The file is protected by a password.</translation>
    </message>
    <message id="preview_fault_gone">
        <source></source>
        <translation>The item is no longer there.</translation>
    </message>
    <message id="preview_fault_no_viewer">
        <source></source>
        <translation>The program that makes previews could not be started.</translation>
    </message>
    <message id="preview_fault_not_a_file">
        <source></source>
        <translation>Only files and folders have a preview.</translation>
    </message>
    <message id="preview_fault_silent">
        <source></source>
        <translation>The disk does not answer.</translation>
    </message>
    <message id="preview_fault_too_large">
        <source></source>
        <translation>The file is too large for a preview.</translation>
    </message>
    <message id="preview_fault_too_slow">
        <source></source>
        <translation>Making a preview of this file takes too long.</translation>
    </message>
    <message id="preview_fault_unreadable">
        <source></source>
        <translation>The item cannot be read.</translation>
    </message>
    <message id="preview_first_entries">
        <source></source>
        <translation>Only the first %@ items are shown</translation>
    </message>
    <message id="preview_items" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ item</numerusform>
            <numerusform>%@ items</numerusform>
        </translation>
    </message>
    <message id="preview_next_page">
        <source></source>
        <translation>Next Page</translation>
    </message>
    <message id="preview_page">
        <source></source>
        <translation>Page %@ of %@</translation>
    </message>
    <message id="preview_partial_entries">
        <source></source>
        <translation>The first %@ of %@ items</translation>
    </message>
    <message id="preview_partial_lines">
        <source></source>
        <translation>Only the first %@ lines are shown</translation>
    </message>
    <message id="preview_partial_picture">
        <source></source>
        <translation>Only a part is shown</translation>
    </message>
    <message id="preview_partial_text">
        <source></source>
        <translation>Only the first megabyte is shown</translation>
    </message>
    <message id="preview_pause">
        <source></source>
        <translation>Pause</translation>
    </message>
    <message id="preview_pixels">
        <source></source>
        <translation>%@ × %@</translation>
    </message>
    <message id="preview_play">
        <source></source>
        <translation>Play</translation>
    </message>
    <message id="preview_previous_page">
        <source></source>
        <translation>Previous Page</translation>
    </message>
    <message id="progress_all">
        <source></source>
        <translation>Emptying all trashes</translation>
    </message>
    <message id="progress_checked">
        <source></source>
        <translation>Erasing from the trash</translation>
    </message>
    <message id="progress_count">
        <source></source>
        <translation>%@ of %@</translation>
    </message>
    <message id="progress_items">
        <source></source>
        <translation>Items:</translation>
    </message>
    <message id="progress_main">
        <source></source>
        <translation>Emptying the trash</translation>
    </message>
    <message id="progress_size">
        <source></source>
        <translation>Size:</translation>
    </message>
    <message id="selected_info">
        <source></source>
        <translation>%@ selected, %@</translation>
    </message>
    <message id="selected_items_log_name">
        <source></source>
        <translation>Selected Items</translation>
    </message>
    <message id="settings_damaged">
        <source></source>
        <translation>The settings file %@ holds something other than settings, so the defaults apply. It stays as it is until you change a setting.</translation>
    </message>
    <message id="settings_moved_aside">
        <source></source>
        <translation>The settings file %@ could not be used. It is now %@, and a new one was written.</translation>
    </message>
    <message id="settings_newer">
        <source></source>
        <translation>A newer version of Kestrin wrote the settings file %@. What this version knows of it applies.</translation>
    </message>
    <message id="settings_no_place">
        <source></source>
        <translation>There is no folder for the settings. Changes apply until Kestrin ends.</translation>
    </message>
    <message id="settings_not_written">
        <source></source>
        <translation>The settings file %@ cannot be written. Changes apply until Kestrin ends.</translation>
    </message>
    <message id="settings_not_written_because">
        <source></source>
        <translation>The settings file %@ cannot be written (%@). Changes apply until Kestrin ends.</translation>
    </message>
    <message id="settings_unreadable">
        <source></source>
        <translation>The settings file %@ cannot be read (%@), so the defaults apply. It stays as it is until you change a setting.</translation>
    </message>
    <message id="single_disk">
        <source></source>
        <translation>“%@”: %@ items, %@</translation>
    </message>
    <message id="single_disk_single">
        <source></source>
        <translation>“%@”: %@ item, %@</translation>
    </message>
    <message id="size_col">
        <source></source>
        <translation>Size</translation>
    </message>
    <message id="size_is_measured">
        <source></source>
        <translation>…</translation>
    </message>
    <message id="size_is_measured_spoken">
        <source></source>
        <translation>being measured</translation>
    </message>
    <message id="skip">
        <source></source>
        <translation>Skip</translation>
    </message>
    <message id="smart_erase">
        <source></source>
        <translation>%@ items in all, %@</translation>
    </message>
    <message id="smart_erase_info">
        <source></source>
        <translation>Erase the checked items?</translation>
    </message>
    <message id="smart_erase_single">
        <source></source>
        <translation>%@ item, %@</translation>
    </message>
    <message id="smart_window_checked" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ checked, %@</numerusform>
            <numerusform>%@ checked, %@</numerusform>
        </translation>
    </message>
    <message id="smart_window_erase" numerus="yes">
        <source></source>
        <translation>
            <numerusform>&amp;Erase %@ Checked Item…</numerusform>
            <numerusform>&amp;Erase %@ Checked Items…</numerusform>
        </translation>
    </message>
    <message id="smart_window_erase_hidden" numerus="yes">
        <source></source>
        <translation>
            <numerusform>&amp;Erase %@ Checked Item (%@ Hidden)…</numerusform>
            <numerusform>&amp;Erase %@ Checked Items (%@ Hidden)…</numerusform>
        </translation>
    </message>
    <message id="smart_window_erase_none">
        <source></source>
        <translation>&amp;Erase Checked Items…</translation>
    </message>
    <message id="smart_window_filter">
        <source></source>
        <translation>Filter by name or folder</translation>
    </message>
    <message id="smart_window_gathering">
        <source></source>
        <translation>Measuring…</translation>
    </message>
    <message id="smart_window_hidden" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%@ of the checked items is hidden by the filter.</numerusform>
            <numerusform>%@ of the checked items are hidden by the filter.</numerusform>
        </translation>
    </message>
    <message id="smart_window_kind">
        <source></source>
        <translation>Kind of the items that are shown</translation>
    </message>
    <message id="smart_window_loading">
        <source></source>
        <translation>Reading the trashes…</translation>
    </message>
    <message id="smart_window_name">
        <source></source>
        <translation>%@ – Smart Window</translation>
    </message>
    <message id="smart_window_name_default">
        <source></source>
        <translation>Smart Window</translation>
    </message>
    <message id="smart_window_preview">
        <source></source>
        <translation>Preview</translation>
    </message>
    <message id="smart_window_refresh">
        <source></source>
        <translation>Refresh</translation>
    </message>
    <message id="smart_window_show_preview">
        <source></source>
        <translation>Show the Preview</translation>
    </message>
    <message id="smart_window_show_sources">
        <source></source>
        <translation>Show the List of Trashes</translation>
    </message>
    <message id="smart_window_sources">
        <source></source>
        <translation>Trashes</translation>
    </message>
    <message id="smart_window_tools">
        <source></source>
        <translation>Tools</translation>
    </message>
    <message id="source_menu_check">
        <source></source>
        <translation>Check All Items</translation>
    </message>
    <message id="source_menu_uncheck">
        <source></source>
        <translation>Uncheck All Items</translation>
    </message>
    <message id="source_row">
        <source></source>
        <translation>%@: %@</translation>
    </message>
    <message id="source_row_marked">
        <source></source>
        <translation>%@: %@, checked %@</translation>
    </message>
    <message id="start_delete_all">
        <source></source>
        <translation>Started to empty every chosen trash.</translation>
    </message>
    <message id="start_delete_checked">
        <source></source>
        <translation>Started to erase the checked items.</translation>
    </message>
    <message id="start_delete_single">
        <source></source>
        <translation>Started to empty the trash.</translation>
    </message>
    <message id="start_up_disk_name">
        <source></source>
        <translation>File System</translation>
    </message>
    <message id="stayed_busy">
        <source></source>
        <translation>it is in use</translation>
    </message>
    <message id="stayed_details">
        <source></source>
        <translation>What stayed</translation>
    </message>
    <message id="stayed_error">
        <source></source>
        <translation>it could not be erased</translation>
    </message>
    <message id="stayed_forbidden">
        <source></source>
        <translation>you have no permission to erase it</translation>
    </message>
    <message id="stayed_help">
        <source></source>
        <translation>What would help</translation>
    </message>
    <message id="stayed_help_busy">
        <source></source>
        <translation>close what uses it</translation>
    </message>
    <message id="stayed_help_error">
        <source></source>
        <translation>try again later</translation>
    </message>
    <message id="stayed_help_forbidden">
        <source></source>
        <translation>ask an administrator</translation>
    </message>
    <message id="stayed_help_left_unlocked">
        <source></source>
        <translation>lock it again (chattr), or ask an administrator</translation>
    </message>
    <message id="stayed_help_locked">
        <source></source>
        <translation>ask an administrator</translation>
    </message>
    <message id="stayed_help_mount_point">
        <source></source>
        <translation>unmount that volume</translation>
    </message>
    <message id="stayed_help_not_found_again">
        <source></source>
        <translation>look at the trash again, and erase what is left</translation>
    </message>
    <message id="stayed_help_other_names">
        <source></source>
        <translation>ask an administrator to unlock it</translation>
    </message>
    <message id="stayed_help_read_only">
        <source></source>
        <translation>make the volume writable</translation>
    </message>
    <message id="stayed_help_replaced">
        <source></source>
        <translation>look at the trash again, and erase this too if you want to</translation>
    </message>
    <message id="stayed_help_skipped">
        <source></source>
        <translation>do not skip it</translation>
    </message>
    <message id="stayed_left_unlocked">
        <source></source>
        <translation>it was locked, and could not be locked again</translation>
    </message>
    <message id="stayed_locked">
        <source></source>
        <translation>it is locked</translation>
    </message>
    <message id="stayed_mount_point">
        <source></source>
        <translation>another volume is mounted in it; unmount that first</translation>
    </message>
    <message id="stayed_name">
        <source></source>
        <translation>Name</translation>
    </message>
    <message id="stayed_not_found_again">
        <source></source>
        <translation>it could not be found again safely</translation>
    </message>
    <message id="stayed_other_names">
        <source></source>
        <translation>it is locked and has other names</translation>
    </message>
    <message id="stayed_read_only">
        <source></source>
        <translation>its volume is read-only</translation>
    </message>
    <message id="stayed_reason">
        <source></source>
        <translation>Why it stayed</translation>
    </message>
    <message id="stayed_replaced">
        <source></source>
        <translation>something else has its name by now</translation>
    </message>
    <message id="stop_btn">
        <source></source>
        <translation>Stop</translation>
    </message>
    <message id="stopping">
        <source></source>
        <translation>Stopping…</translation>
    </message>
    <message id="suppression_message_text">
        <source></source>
        <translation>Don’t show this again</translation>
    </message>
    <message id="tell_to_friend">
        <source></source>
        <translation>mailto:?subject=Kestrin&amp;body=I use Kestrin to see and to empty the trash of every disk. You might like it too.</translation>
    </message>
    <message id="today">
        <source></source>
        <translation>Today</translation>
    </message>
    <message id="trash_empty">
        <source></source>
        <translation>The trash is empty</translation>
    </message>
    <message id="trash_not_counted">
        <source></source>
        <translation>the trash could not be counted, so nothing in it was erased</translation>
    </message>
    <message id="undeleted_locked_sing_msg">
        <source></source>
        <translation>Erase it anyway?</translation>
    </message>
    <message id="undeleted_locked_sing_str">
        <source></source>
        <translation>“%@” is locked.</translation>
    </message>
    <message id="undeleted_no_permissions_sing_str">
        <source></source>
        <translation>You don’t have permission to erase “%@”. Erase it anyway?</translation>
    </message>
    <message id="uninstall_button">
        <source></source>
        <translation>Uninstall</translation>
    </message>
    <message id="uninstall_package">
        <source></source>
        <translation>The helper came with the package “%@” and stays. An administrator removes it by: %@</translation>
    </message>
    <message id="uninstall_package_unknown">
        <source></source>
        <translation>It could not be found out whether a package of your system brought the helper. A helper that one brought is removed all the same; remove the package then, too.</translation>
    </message>
    <message id="uninstall_successful">
        <source></source>
        <translation>Kestrin has been uninstalled.</translation>
    </message>
    <message id="uninstall_successful_mess">
        <source></source>
        <translation>The helper and your settings are gone. Kestrin will quit now and show you where the program is, so that you can remove it too.</translation>
    </message>
    <message id="uninstall_successful_package_mess">
        <source></source>
        <translation>Your settings are gone; the helper goes with its package. Kestrin will quit now and show you where the program is.</translation>
    </message>
    <message id="update_button">
        <source></source>
        <translation>Update</translation>
    </message>
    <message id="update_helper_tool">
        <source></source>
        <translation>Do you want to update Kestrin’s helper?</translation>
    </message>
    <message id="update_helper_tool_mess">
        <source></source>
        <translation>The helper erases locked items and items that you have no permission to erase. An administrator’s password is needed.</translation>
    </message>
    <message id="updates_looking">
        <source></source>
        <translation>Looking up how this copy was installed…</translation>
    </message>
    <message id="updates_news_button">
        <source></source>
        <translation>What Is &amp;New…</translation>
    </message>
    <message id="updates_no_package">
        <source></source>
        <translation>This copy, in %@, was not installed as a package: nothing updates it by itself. Install a newer version in the same way as this one.</translation>
    </message>
    <message id="updates_package">
        <source></source>
        <translation>This copy was installed as the package “%@”. The updates of your system bring newer versions of it, and so does this command in a terminal:</translation>
    </message>
    <message id="updates_title">
        <source></source>
        <translation>Check for Updates</translation>
    </message>
    <message id="updates_unknown">
        <source></source>
        <translation>How this copy was installed could not be found out (%@). If it came as a package, the updates of your system bring newer versions of it.</translation>
    </message>
    <message id="updates_version">
        <source></source>
        <translation>This is Kestrin %@</translation>
    </message>
    <message id="volume_not_answering">
        <source></source>
        <translation>it is not answering</translation>
    </message>
    <message id="volume_removed">
        <source></source>
        <translation>the volume was removed or does not answer, and what is still in its trash is not known</translation>
    </message>
    <message id="welcome_empty_all">
        <source></source>
        <translation>Empty all trashes</translation>
    </message>
    <message id="welcome_login">
        <source></source>
        <translation>&amp;Start at login</translation>
    </message>
    <message id="welcome_no_shortcut">
        <source></source>
        <translation>none</translation>
    </message>
    <message id="welcome_open_button">
        <source></source>
        <translation>Open Smart &amp;Window</translation>
    </message>
    <message id="welcome_shortcut">
        <source></source>
        <translation>%@: %@</translation>
    </message>
    <message id="welcome_shortcut_asked">
        <source></source>
        <translation>not answered by the desktop yet</translation>
    </message>
    <message id="welcome_shortcuts_button">
        <source></source>
        <translation>&amp;Change Shortcuts…</translation>
    </message>
    <message id="welcome_smart_window">
        <source></source>
        <translation>Open the Smart Window</translation>
    </message>
    <message id="welcome_text">
        <source></source>
        <translation>Kestrin shows the trash of every disk, and erases for good just what you choose. Click the bin in the status area for its menu.</translation>
    </message>
    <message id="welcome_title">
        <source></source>
        <translation>Welcome to Kestrin</translation>
    </message>
    <message id="x_position_EXIF_field">
        <source></source>
        <translation>110</translation>
    </message>
    <message id="x_position_TAG_field">
        <source></source>
        <translation>110</translation>
    </message>
    <message id="yes_btn">
        <source></source>
        <translation>OK</translation>
    </message>
    <message id="yesterday">
        <source></source>
        <translation>Yesterday</translation>
    </message>
</context>
</TS>
