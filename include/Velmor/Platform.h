#pragma once

/// @file
/// The platform services: locks and events, files, file streams, environment variables, processes, threads and modules.

#include <Velmor/DynamicLibrary.h>
#include <Velmor/Environment.h>
#include <Velmor/FileStream.h>
#include <Velmor/Files.h>
#include <Velmor/Handle.h>
#include <Velmor/Process.h>
#include <Velmor/Synchronization.h>
