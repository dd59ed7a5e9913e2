#pragma once

#include "base/property_list.h"
#include "model/item_link.h"
#include "remote/remote_action_controller.h"
#include "search/search_controller.h"
#include "support/fake_http.h"
#include "support/player_fixture.h"

namespace merlode {

/// One end of a link between two sessions. What is sent goes through the text that travels, so that what does
/// not survive that is missed at the other end, and is handled there in its turn of the loop.
class WireEnd final : public RemoteLink {
  public:
    static constexpr ClientId kClient = 1;
    const QString kAddress = u"10.0.0.7"_qs; ///< of the one client, whose name is "Kitchen"

    Session* peer = nullptr; ///< null while nobody is connected
    bool isHost = false;
    std::vector<RemoteAction> sent;

    using RemoteLink::broadcastMessage;
    bool connecting() const override { return false; }
    bool hasClients() const override { return isHost && peer; }
    void connectToSelf() override {}
    void sendMessageToHost(RemoteAction action, const QVariantMap& payload) override {
        QVariantMap decorated = payload;
        decorated.insert({{u"ClientAddress"_qs, kAddress}, {u"ClientName"_qs, u"Kitchen"_qs}});
        send(action, decorated, !isHost);
    }
    std::optional<ClientId> getClientSocketFromAddress(const QString& address) const override {
        return address == kAddress ? std::optional(kClient) : std::nullopt;
    }
    void broadcastRemoteSearch(const QVariantMap& results, const QString& address) override {
        send(RemoteAction::processSearchResults, results, address == kAddress);
    }
    void broadcastRemoteiTunesAlbumKey(const Album& album, const QString& address) override {
        send(RemoteAction::processRemoteiTunesSearchAlbum,
             {{u"albumDictionary"_qs, album.albumToDictionary(true)}}, address == kAddress);
    }
    void broadcastRemoteiTunesTrackKey(const Track& track, const QString& address) override {
        send(RemoteAction::processRemoteiTunesSearchTrack,
             {{u"trackDictionary"_qs, track.trackToDictionary()}}, address == kAddress);
    }
    void broadcastAlertToClient(const QString& title, const QString& message,
                                const QString& address) override {
        send(RemoteAction::showAlert, {{u"title"_qs, title}, {u"message"_qs, message}}, address == kAddress);
    }
    void broadcastMessage(RemoteAction action, const QVariantMap& payload,
                          std::optional<ClientId> client) override {
        send(action, payload, isHost && client.value_or(kClient) == kClient);
    }

  private:
    void send(RemoteAction action, const QVariantMap& payload, bool arrives) {
        if (!peer || !arrives)
            return;
        sent.push_back(action);
        const QVariantMap message{{u"action"_qs, rawValue(action)}, {u"payload"_qs, payload}};
        peer->runLoop().async([text = property_list::serialize(message)] {
            RemoteActionController::sharedController().handleRemoteMessage(
                property_list::parse(text).value_or(QVariant()).toMap());
        });
    }
};

/// A library as a test fills it.
class FakeItems final : public ItemLink {
  public:
    std::vector<LibrarySong> songs;
    bool isClient = false;
    std::shared_ptr<const LibrarySongs> iTunesSongs() override {
        return std::make_shared<const LibrarySongs>(songs);
    }
    bool hasRemotePlayer() override { return isClient; }
};

/// A machine with all that takes part in remote actions.
class RemoteMachine : public PlayerMachine {
  public:
    RemoteMachine() : RemoteMachine(static_cast<RemoteLink*>(nullptr)) {}
    template<class Link>
    explicit RemoteMachine(Link link) : PlayerMachine(std::move(link)) {
        test.session.installReference<HttpClient>(http);
        test.session.installReference<ItemLink>(items);
        test.session.installReference<MediaLibrary>(library);
    }

    /// Runs `work` as this machine: two of them share the thread.
    template<class Work>
    decltype(auto) as(Work work) {
        const SessionScope scope(&test.session);
        return work();
    }
    SearchController& search() { return SearchController::sharedController(); }

    FakeHttp http;
    FakeItems items;
    FakeMediaLibrary library;
};

} // namespace merlode
