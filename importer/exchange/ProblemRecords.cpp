#include "importer/exchange/ProblemRecords.h"

#include "importer/exchange/RecordFields.h"

namespace importer::exchange {

std::string encode(const ProblemRecord& record) {
    std::string out;
    append(out, record.line, 8);
    append(out, record.instance, 8);
    appendText(out, record.reason);
    return out;
}

ProblemRecord decodeProblem(std::string_view payload) {
    Fields fields(payload);
    ProblemRecord record;
    record.line = fields.u64("line");
    record.instance = fields.u64("instance");
    record.reason = fields.text("reason");
    fields.end();
    return record;
}

void ProblemWriter::write(const ProblemRecord& problem) {
    if (totals().records < maxLoggedProblems)
        writer_.write(encode(problem));
    else
        ++omitted_;
}

} // namespace importer::exchange
