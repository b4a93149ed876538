#pragma once

/// @file
/// The complete interface of the library.

#include <Velmor/Digest.h>
#include <Velmor/Export.h>
#include <Velmor/ForeignObject.h>
#include <Velmor/Georeferencing.h>
#include <Velmor/IFCProperties.h>
#include <Velmor/IFCPropertySets.h>
#include <Velmor/Identity.h>
#include <Velmor/Platform.h>
#include <Velmor/ReferenceObjectClass.h>
#include <Velmor/Text.h>
#include <Velmor/Version.h>
#include <Velmor/WideText.h>
