#include "refused_server.h"

#include <kelp/orb/tls_files.h>

#include <mutex>
#include <utility>

#include "refusals.h"
#include "texts.h"

namespace kelp::orb {

namespace {

struct Last {
    std::mutex mutex;
    std::string text;
};

// never deleted: handshakes may outlive main
Last& last() {
    static Last* const kept = new Last;
    return *kept;
}

}  // namespace

void noteRefusedServer(const SSL* connection, const X509* certificate, const std::string& why) {
    std::string text = peerInWords(connection) + " shows a certificate of " +
                       inWords(X509_get_subject_name(certificate)) + ", which is refused: " + why;
    const std::lock_guard guard(last().mutex);
    last().text.swap(text);
}

std::string takeRefusedServer() {
    const std::lock_guard guard(last().mutex);
    return std::exchange(last().text, {});
}

}  // namespace kelp::orb
