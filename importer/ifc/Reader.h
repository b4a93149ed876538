#pragma once

// Reading a model whose text is in memory.

#include "importer/ifc/Model.h"
#include "importer/ifc/Record.h"
#include "importer/step/File.h"

namespace importer::ifc {

/// Passes the content of a model to a sink.
/// @param folder of the model, with its ending separator. If it is empty, image files cannot be read.
void readProducts(const step::File& file, const Limits& limits, ModelSink& sink, const Velmor::WideString& folder = {});

} // namespace importer::ifc
