#include "socket_bio.h"

#include <openssl/bio.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace kelp::orb {

namespace {

int descriptorOf(BIO* bio) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(BIO_get_data(bio)));
}

bool isWorthARetry() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

int write(BIO* bio, const char* octets, int count) {
    BIO_clear_retry_flags(bio);
    const ssize_t sent = ::send(descriptorOf(bio), octets, static_cast<std::size_t>(count),
                                MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent <= 0 && isWorthARetry())
        BIO_set_retry_write(bio);
    return static_cast<int>(sent);
}

int read(BIO* bio, char* octets, int count) {
    BIO_clear_retry_flags(bio);
    const ssize_t received =
        ::recv(descriptorOf(bio), octets, static_cast<std::size_t>(count), MSG_DONTWAIT);
    if (received < 0 && isWorthARetry())
        BIO_set_retry_read(bio);
    if (received == 0)
        BIO_set_flags(bio, BIO_FLAGS_IN_EOF);
    return static_cast<int>(received);
}

long control(BIO* bio, int command, long, void* result) {
    switch (command) {
        case BIO_CTRL_FLUSH:
        case BIO_CTRL_DUP:
            return 1;
        case BIO_CTRL_EOF:
            return BIO_test_flags(bio, BIO_FLAGS_IN_EOF) != 0 ? 1 : 0;
        case BIO_C_GET_FD:
            if (result != nullptr)
                *static_cast<int*>(result) = descriptorOf(bio);
            return descriptorOf(bio);
        default:
            return 0;
    }
}

const BIO_METHOD* method() {
    static BIO_METHOD* const made = [] {
        BIO_METHOD* const fresh = BIO_meth_new(
            BIO_get_new_index() | BIO_TYPE_SOURCE_SINK | BIO_TYPE_DESCRIPTOR, "socket of the gate");
        BIO_meth_set_write(fresh, write);
        BIO_meth_set_read(fresh, read);
        BIO_meth_set_ctrl(fresh, control);
        return fresh;
    }();
    return made;
}

}  // namespace

OwnedBio makeSocketBio(int descriptor) {
    OwnedBio bio(BIO_new(method()));
    if (bio) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the BIO gives it back and never follows it
        BIO_set_data(bio.get(), reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)));
        BIO_set_init(bio.get(), 1);
    }
    return bio;
}

}  // namespace kelp::orb
