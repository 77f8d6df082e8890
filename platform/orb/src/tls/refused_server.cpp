#include "refused_server.h"

#include <kelp/orb/tls_files.h>
#include <kelp/util/mutex.h>

#include <utility>

#include "refusals.h"
#include "texts.h"

namespace kelp::orb {

namespace {

struct Last {
    util::Mutex mutex{util::LockRank::Service, "RefusedServer::mutex"};
    std::string text KELP_GUARDED_BY(mutex);
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
    Last& kept = last();
    const util::MutexLock lock(kept.mutex);
    kept.text.swap(text);
}

std::string takeRefusedServer() {
    Last& kept = last();
    const util::MutexLock lock(kept.mutex);
    return std::exchange(kept.text, {});
}

}  // namespace kelp::orb
