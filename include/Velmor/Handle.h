#pragma once

/// @file
/// The handle type of the interface.

/// A raw handle of the operating system. On Windows this is the same type as in <windows.h>. On Linux a file handle is the
/// number of a file descriptor; docs/portability.md describes the other handles.
typedef void* HANDLE;
