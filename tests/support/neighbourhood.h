#pragma once

#include "remote/socket_controller.h"
#include "support/in_memory_network.h"
#include "support/memory_services.h"
#include "support/remote_machine.h"

namespace merlode {

/// A machine on a network in memory, with the real link.
class NeighbourMachine : public RemoteMachine {
  public:
    NeighbourMachine(InMemoryNetwork& network, MemoryServices& services, const QString& address,
                     const QString& name)
        : RemoteMachine([](Session&) -> RemoteLink& { return SocketController::sharedController(); }),
          discovery(static_cast<MemoryDiscovery&>(test.session.install<ServiceDiscovery>(
              std::make_unique<MemoryDiscovery>(services, test.loop, address)))) {
        test.session.installReference<StreamNetwork>(network.machine(address));
        userDefaults.set(defaults::kHostName, name);
        userDefaults.set(defaults::kControlMac, false);
    }

    SocketController& link() {
        return as([]() -> SocketController& { return SocketController::sharedController(); });
    }
    QStringList alertTexts() const {
        QStringList texts;
        for (const auto& alert : alerts.shown)
            texts << alert.messageText;
        return texts;
    }
    /// "server", "client of NAME", "connecting" or "alone".
    QString role() {
        auto& controller = link();
        if (controller.connectedToHost())
            return u"client of "_qs + controller.clientHostName().value_or(u"?"_qs);
        return controller.isServer()     ? u"server"_qs
               : controller.connecting() ? u"connecting"_qs
                                         : u"alone"_qs;
    }

    MemoryDiscovery& discovery;
};

/// Two machines side by side, "Den" and "Kitchen", whose clocks go together.
class Neighbourhood : public testing::Test {
  protected:
    void advance(double seconds) {
        constexpr double kStep = 0.01;
        for (double passed = 0; passed < seconds; passed += kStep) {
            for (auto* loop : {&wire, &den.test.loop, &kitchen.test.loop})
                loop->advance(kStep);
        }
    }
    void serve(NeighbourMachine& machine) {
        machine.as([&] { machine.link().startServer(); });
        advance(2);
    }
    void look(NeighbourMachine& machine) {
        machine.as([&] { machine.link().discoverHosts(); });
        advance(2);
    }
    void connect(NeighbourMachine& machine, const QString& name) {
        machine.as([&] { machine.link().connectToHostName(name); });
        advance(2);
    }
    /// The kitchen as a client of the den.
    void join() {
        serve(den);
        look(kitchen);
        connect(kitchen, u"Den"_qs);
    }

    VirtualRunLoop wire;
    InMemoryNetwork network{wire};
    MemoryServices services;
    NeighbourMachine den{network, services, u"10.0.0.1"_qs, u"Den"_qs};
    NeighbourMachine kitchen{network, services, u"10.0.0.2"_qs, u"Kitchen"_qs};
};

} // namespace merlode
