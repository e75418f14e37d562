#include "report/CaseWriter.h"

#include "capture/Document.h"

namespace replay {

CaseWriter::CaseWriter(std::ostream& out, const Case& platform) : mOut(out) {
    Case head;
    head.properties = platform.properties;
    printHead(mOut, documentOf(head), {});
}

void CaseWriter::add(const Request& request, const std::vector<std::string>& comments) {
    Case one;
    one.requests = {request};
    printRequests(mOut, documentOf(one), {comments});
}

}  // namespace replay
