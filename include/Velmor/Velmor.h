#pragma once

/// @file
/// The whole interface of the library.

#include <Velmor/Export.h>
#include <Velmor/ForeignObject.h>
#include <Velmor/Identity.h>
#include <Velmor/Platform.h>
#include <Velmor/Text.h>
#include <Velmor/Version.h>
#include <Velmor/WideText.h>
