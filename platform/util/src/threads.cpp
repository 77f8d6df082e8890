#include <cxxabi.h>
#include <kelp/util/threads.h>
#include <pthread.h>
#include <signal.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <utility>

namespace kelp::util {

namespace {

/// Blocks all signals for the calling thread until the end of the scope. A thread that it creates
/// inherits that.
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t before_;
};

}  // namespace

std::thread startThread(const std::string& name, std::function<void()> body) {
    const BlockedSignals blocked;
    std::thread made(std::move(body));
    pthread_setname_np(made.native_handle(), name.substr(0, 15).c_str());
    return made;
}

std::string currentExceptionText() {
    if (const std::exception_ptr current = std::current_exception()) {
        try {
            std::rethrow_exception(current);
        } catch (const std::exception& ex) {
            return ex.what();
        } catch (...) {
            const std::type_info* const type = abi::__cxa_current_exception_type();
            if (type == nullptr)
                return "an exception of an unknown type";
            int status = 0;
            const std::unique_ptr<char, decltype(&std::free)> name(
                abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
            return std::string("an exception of type ") + (name ? name.get() : type->name());
        }
    }
    return "no exception";
}

}  // namespace kelp::util
