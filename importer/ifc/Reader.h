#pragma once

// The reading of a model whose text is in memory already.

#include "importer/ifc/Model.h"
#include "importer/ifc/Record.h"
#include "importer/step/File.h"

namespace importer::ifc {

/// Hands a model's products, textures and problems to a sink, in the order of the file.
/// @param folder of the model, with its ending separator; where it is empty, images beside the model cannot be had.
void readProducts(const step::File& file, const Limits& limits, ModelSink& sink, const Velmor::WideString& folder = {});

} // namespace importer::ifc
