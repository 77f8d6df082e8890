// An NMS that stays in step with the active alarms of the EMS.
//
//     nms [ORB OPTION...] [--page N] [--ping SECONDS] [--silence SECONDS] FACTORY USER
//     PASSWORD_FILE
//
// FACTORY is where the session factory is, as a URL. With the path of TMF 814 in the naming service
// of the EMS:
//
//     corbaname::HOST:4801#TMF_MTNM.Class/Kelp.Vendor/Kelp%5c%2fEMS.EmsInstance/3_5.Version/
//     Kelp%5c%2fEMS.EmsSessionFactory_I    (in one line)
//
// The NMS prints its list as one line of JSON whenever the list has changed, and each step on
// standard error. It ends with a log-out at Ctrl-C or SIGTERM.

#include <cos/CosNotifyChannelAdmin.h>
#include <cos/CosNotifyFilter.h>
#include <mtnm/emsMgr.h>
#include <mtnm/emsSessionFactory.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include "servants.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;

/// Why the NMS has to start over.
struct OutOfStep : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    std::string factory;
    std::string user;
    std::string passwordFile;
    CORBA::ULong page = 500;  // entries requested at a time
    seconds ping = 30s;       // between two pings of the session
    seconds silence = 0s;     // without any event, after which the NMS starts over; 0: never
};

/// One log-in. Whatever happens, the destructor releases what the EMS holds for it.
class Connection {
  public:
    Connection(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, const Options& options)
        : orb_(orb), poa_(poa), options_(options) {}
    ~Connection() {
        for (auto undo = undo_.rbegin(); undo != undo_.rend(); ++undo) {
            try {
                (*undo)();
            } catch (const CORBA::Exception&) {
                // the EMS is gone, or has ended it before
            }
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // [log-in]
    void logIn() {
        std::string password;
        std::ifstream file(options_.passwordFile);
        if (!std::getline(file, password))
            throw OutOfStep("the password file cannot be read");
        const CORBA::Object_var found = orb_->string_to_object(options_.factory.c_str());
        const auto factory = narrowed<emsSessionFactory::EmsSessionFactory_I>(found);
        const CORBA::Object_var own = activate(new Session(news_));
        const auto client = narrowed<nmsSession::NmsSession_I>(own);
        factory->getEmsSession(options_.user.c_str(), password.c_str(), client, session_.out());
        undo_.push_back([this] { session_->endSession(); });
        common::Common_I_var manager;
        session_->getManager("EMS", manager.out());
        manager_ = narrowed<emsMgr::EMSMgr_I>(manager);
    }
    // [end]

    // [subscribe]
    void subscribe() {
        CosNotifyChannelAdmin::EventChannel_var channel;
        session_->getEventChannel(channel.out());
        const CosNotifyFilter::FilterFactory_var filters = channel->default_filter_factory();
        const CosNotifyFilter::Filter_var wanted = filters->create_filter("EXTENDED_TCL");
        undo_.push_back([wanted] { wanted->destroy(); });
        CosNotifyFilter::ConstraintExpSeq constraints;
        constraints.length(1);
        constraints[0].event_types.length(2);
        constraints[0].event_types[0] = {"tmf_mtnm", "NT_ALARM"};
        constraints[0].event_types[1] = {"tmf_mtnm", "NT_HEARTBEAT"};
        constraints[0].constraint_expr = "TRUE";
        const CosNotifyFilter::ConstraintInfoSeq_var added = wanted->add_constraints(constraints);

        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = channel->default_consumer_admin();
        CosNotifyChannelAdmin::ProxyID id = 0;
        const CosNotifyChannelAdmin::ProxySupplier_var any =
            admin->obtain_notification_push_supplier(CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
        const auto proxy = narrowed<CosNotifyChannelAdmin::StructuredProxyPushSupplier>(any);
        undo_.push_back([proxy] { proxy->disconnect_structured_push_supplier(); });
        proxy->add_filter(wanted);
        const CORBA::Object_var own = activate(new Consumer(alarms_, news_));
        proxy->connect_structured_push_consumer(
            narrowed<CosNotifyComm::StructuredPushConsumer>(own));
    }
    // [end]

    // [read]
    /// Read the whole list, and merge it with the events that arrive meanwhile.
    void read() {
        alarms_->begin();
        std::vector<Alarm> listed;
        notifications::EventList_T_var batch;
        notifications::EventIterator_I_var rest;
        manager_->getAllEMSAndMEActiveAlarms({}, {}, options_.page, batch.out(), rest.out());
        append(batch, listed);
        try {
            while (!CORBA::is_nil(rest)) {
                if (!rest->next_n(options_.page, batch.out()))
                    rest = notifications::EventIterator_I::_nil();  // the EMS has destroyed it
                append(batch, listed);
            }
        } catch (const CORBA::Exception&) {
            release(rest);  // not read to its end: the EMS would keep it
            throw;
        }
        alarms_->finish(listed);
        news_->put("changed");
        std::cerr << "in step after reading " << listed.size() << " alarms" << std::endl;
    }
    // [end]

    // [follow]
    /// Follow the events until the NMS has to start over, or is to end.
    void follow(std::stop_token end) {
        auto nextPing = News::Clock::now() + options_.ping;
        while (!end.stop_requested()) {
            const std::optional<std::string> news = news_->take(nextPing, end);
            if (news == "read")
                read();
            else if (news == "changed")
                show();
            else if (news)
                throw OutOfStep(*news);
            if (News::Clock::now() < nextPing)
                continue;
            session_->ping();  // throws when the session or the connection is gone
            if (options_.silence > 0s && news_->silence() > options_.silence)
                throw OutOfStep("neither an event nor a heartbeat for too long");
            nextPing = News::Clock::now() + options_.ping;
        }
    }
    // [end]

  private:
    template <class Interface>
    static typename Interface::_var_type narrowed(CORBA::Object_ptr object) {
        typename Interface::_var_type typed = Interface::_narrow(object);
        if (CORBA::is_nil(typed))
            throw OutOfStep("an object of the EMS has another type than it should");
        return typed;
    }

    /// The caller owns the reference.
    CORBA::Object_ptr activate(PortableServer::Servant made) {
        const PortableServer::ServantBase_var servant = made;
        const PortableServer::ObjectId_var id = poa_->activate_object(servant.in());
        undo_.push_back([this, id] { poa_->deactivate_object(id); });
        return poa_->id_to_reference(id);
    }

    static void append(const notifications::EventList_T& events, std::vector<Alarm>& listed) {
        for (CORBA::ULong i = 0; i < events.length(); ++i)
            listed.push_back(fieldsOf(events[i]));
    }

    static void release(notifications::EventIterator_I_ptr rest) {
        try {
            rest->destroy();
        } catch (const CORBA::Exception&) {
            // the EMS is gone, or has closed it
        }
    }

    void show() const {
        std::cout << jsonOf(alarms_->alarms()) << std::endl;
        std::this_thread::sleep_for(100ms);  // at most ten lists a second
    }

    CORBA::ORB_ptr orb_;
    PortableServer::POA_ptr poa_;
    const Options& options_;
    const std::shared_ptr<News> news_ = std::make_shared<News>();
    const std::shared_ptr<AlarmList> alarms_ = std::make_shared<AlarmList>();
    emsSession::EmsSession_I_var session_;
    emsMgr::EMSMgr_I_var manager_;
    std::vector<std::function<void()>> undo_;  // what the destructor does, the last first
};

// [start over]
/// Stay in step until the NMS is to end.
void run(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, const Options& options,
         std::stop_token end) {
    for (seconds pause = 1s; !end.stop_requested(); pause = std::min(2 * pause, 30s)) {
        try {
            Connection connection(orb, poa, options);
            connection.logIn();
            connection.subscribe();  // before the list is read: no event is missed in between
            connection.read();
            pause = 1s;
            connection.follow(end);
        } catch (const std::exception& reason) {
            std::cerr << "out of step: " << reason.what() << std::endl;
        } catch (const globaldefs::ProcessingFailureException& refused) {
            std::cerr << "out of step: " << refused.errorReason.in() << std::endl;
        } catch (const CORBA::Exception& failure) {
            std::cerr << "out of step: " << failure._name() << std::endl;
        }
        News().take(News::Clock::now() + pause, end);  // waits
    }
}
// [end]

Options optionsIn(int argc, char** argv) {
    Options options;
    std::vector<std::string> names;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool isOption = word.starts_with("--") && i + 1 < argc;
        if (isOption && word == "--page")
            options.page = static_cast<CORBA::ULong>(std::stoul(argv[++i]));
        else if (isOption && word == "--ping")
            options.ping = seconds(std::stoul(argv[++i]));
        else if (isOption && word == "--silence")
            options.silence = seconds(std::stoul(argv[++i]));
        else
            names.push_back(word);
    }
    if (names.size() != 3)
        throw std::invalid_argument("arguments: [OPTION...] FACTORY USER PASSWORD_FILE");
    options.factory = names[0];
    options.user = names[1];
    options.passwordFile = names[2];
    return options;
}

void runAsToldBy(int argc, char** argv) {
    // before the ORB starts its threads, so that they do not get these signals
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    const CORBA::ORB_var orb = CORBA::ORB_init(argc, argv);  // removes its own options
    const Options options = optionsIn(argc, argv);
    const CORBA::Object_var root = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var poa = PortableServer::POA::_narrow(root);
    const PortableServer::POAManager_var active = poa->the_POAManager();
    active->activate();

    std::jthread following([&](std::stop_token end) { run(orb, poa, options, end); });
    int number = 0;
    sigwait(&signals, &number);
    following.request_stop();
    following.join();
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        runAsToldBy(argc, argv);
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "nms: " << failure.what() << std::endl;
    } catch (const CORBA::Exception& failure) {
        std::cerr << "nms: " << failure._name() << std::endl;
    }
    return 1;
}
