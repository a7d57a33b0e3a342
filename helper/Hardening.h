// SPDX-License-Identifier: GPL-3.0-or-later
// What each kind of the helper's processes gives up before it does anything else. Each of these
// ends the process when the kernel refuses, and is called while there is one thread.
#pragma once

namespace kestrin {

/// Leaves the process, and those it starts, with a fixed environment, "/" as its folder, no rights
/// for others on what it makes, no core dumps, and no way to gain rights by executing.
void giveUpWhatNobodyNeeds();

/// For the service: gives up every capability for good. What is left of root is the user id, by
/// which the bus and the policy service know it, and the rights that files of root's give it.
void giveUpAllCapabilities();

/// For the service: gives those rights up as well, where the kernel has Landlock. No file can be
/// made, changed or removed any more, and none be read but of programs and of processes.
void giveUpFiles();

/// For the parent and its workers: of root's capabilities only those stay that erasing needs, and
/// no other process of root's may look into this one.
void keepCapabilitiesForFiles();

/// For a worker: its own process group, and limits to the memory and descriptors that a list may
/// make it take; where memory runs short, it goes before any other process. Every descriptor but
/// the standard ones and these two is closed.
void limitWorker(int list, int socket);

/// For the service: large blocks go back to the kernel when they are freed, whatever their number,
/// and all that others are taken from can be given up. By default blocks as long as the longest
/// that was freed stay.
void giveBackFreedMemory();

/// Leaves the kernel all memory that is of no use just now: what was freed, and the pages of
/// program and libraries, which come back from their files when they are needed. Thread: any.
void giveUpUnusedMemory();

}  // namespace kestrin
