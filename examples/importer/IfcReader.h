#pragma once

// The reading of a model whose text is in memory already.

#include "IfcModel.h"
#include "IfcRecord.h"
#include "StepFile.h"

namespace importer {

/// Hands a model's products and problems to a sink, in the order of the file.
void readProducts(const StepFile& file, const Limits& limits, ModelSink& sink);

} // namespace importer
