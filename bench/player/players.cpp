#include "players.h"

#include <dlfcn.h>
#include <gst/play/play.h>

#include <cstdio>
#include <cstdlib>

#include "IZunoPlayer.h"

namespace lumivex::bench {
namespace {

class StandIn final : public Player {
 public:
  explicit StandIn(ZunoPlayerCreate create) : player_(create()) {}

  bool Open(const std::string& uri) override { return player_->InitPlayer(uri.c_str(), 0); }
  bool Play() override { return player_->Play(0); }
  bool Seek(int msec) override { return player_->Seek(msec); }
  int Position() override {
    int msec = -1;
    return player_->GetCurrentPosition(&msec) ? msec : -1;
  }

 private:
  const std::unique_ptr<IZunoPlayer> player_;
};

class Peer final : public Player {
 public:
  Peer()
      : play_(gst_play_new(nullptr)),
        bus_(gst_play_get_message_bus(play_)),
        playbin_(gst_play_get_pipeline(play_)) {
    GstStructure* config = gst_play_get_config(play_);
    gst_play_config_set_seek_accurate(config, TRUE);
    gst_play_set_config(play_, config);
    for (const char* property :
         {"video-sink", "audio-sink"}) {  // as the stand-in's without a window
      GstElement* sink = gst_element_factory_make("fakesink", nullptr);
      g_object_set(sink, "sync", TRUE, "enable-last-sample", FALSE, nullptr);
      g_object_set(playbin_, property, sink, nullptr);
    }
  }
  ~Peer() override {
    gst_bus_set_flushing(bus_, TRUE);  // its messages hold the player
    gst_object_unref(bus_);
    gst_object_unref(playbin_);
    gst_object_unref(play_);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  bool Open(const std::string& uri) override {
    gst_play_set_uri(play_, uri.c_str());
    gst_play_pause(play_);
    return WaitFor([](GstPlayMessage type, GstMessage* message) {
      GstPlayState state = GST_PLAY_STATE_STOPPED;
      if (type == GST_PLAY_MESSAGE_STATE_CHANGED) {
        gst_play_message_parse_state_changed(message, &state);
      }
      return state == GST_PLAY_STATE_PAUSED;
    });
  }
  bool Play() override {
    gst_play_play(play_);
    return true;
  }
  bool Seek(int msec) override {
    gst_play_seek(play_, msec * GST_MSECOND);
    return WaitFor([](GstPlayMessage type, GstMessage* /*message*/) {
      return type == GST_PLAY_MESSAGE_SEEK_DONE;
    });
  }
  int Position() override { return static_cast<int>(gst_play_get_position(play_) / GST_MSECOND); }

 private:
  // False when it fails or takes more than 10 s.
  bool WaitFor(bool (*is_wanted)(GstPlayMessage type, GstMessage* message)) {
    while (GstMessage* message = gst_bus_timed_pop(bus_, 10 * GST_SECOND)) {
      GstPlayMessage type = GST_PLAY_MESSAGE_ERROR;
      gst_play_message_parse_type(message, &type);
      const bool wanted = is_wanted(type, message);
      gst_message_unref(message);
      if (wanted || type == GST_PLAY_MESSAGE_ERROR) {
        return wanted && Settles();
      }
    }
    return false;
  }
  // It tells of openings over HTTP, and of some seeks, before the picture is there.
  bool Settles() {
    int tries = 10;  // its own change of state ends a wait
    while (gst_element_get_state(playbin_, nullptr, nullptr, GST_SECOND) !=
               GST_STATE_CHANGE_SUCCESS &&
           --tries > 0) {
    }
    return tries > 0;
  }

  GstPlay* const play_;
  GstBus* const bus_;
  GstElement* const playbin_;
};

}  // namespace

std::unique_ptr<Player> MakeStandIn() {
  static void* const library = dlopen(LUMIVEX_BENCH_PLAYER, RTLD_NOW);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  return std::make_unique<StandIn>(reinterpret_cast<ZunoPlayerCreate>(dlsym(library, "Create")));
}

std::unique_ptr<Player> MakeGstPlay() {
  return std::make_unique<Peer>();
}

}  // namespace lumivex::bench
