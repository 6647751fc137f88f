#include "platform/session/MprisMediaPlayback.h"

#include "platform/session/PrivateBus.h"

namespace quillmere {
namespace {

class MprisMediaPlaybackTest : public testing::Test, protected PrivateBus {};

TEST_F(MprisMediaPlaybackTest, OnlyWhatPlaysIsPausedAndOnlyOursIsResumed) {
  Player playing(connect(), "one", "Playing");
  playing.addName("one.instance7");
  Player paused(connect(), "two", "Paused");
  Player stopped(connect(), "three", "Stopped");
  Player leaving(connect(), "six", "Playing");
  Player mirror(connect(), "playerctld", "Playing");
  Player dead(connect(), "seven", "Playing");
  dead.service.isMute = true;
  // A browser answers at once and stops a little later: a short recording must not leave it silent.
  Player slow(connect(), "eight", "Playing");
  slow.isStubborn = true;

  BusConnection session(executor, workers, opener());
  MprisMediaPlayback media(session);
  media.startListening();
  EXPECT_EQ(run(media.pause()), 3);
  EXPECT_EQ(playing.service.count("Pause()"), 1) << "a player with two names";
  for (const Player* other : {&paused, &stopped, &mirror}) EXPECT_EQ(other->service.count("Pause()"), 0);

  leaving.connection.unregisterService("org.mpris.MediaPlayer2.six");
  leaving.connection.unregisterObject("/org/mpris/MediaPlayer2");
  run(media.play());
  for (const Player* ours : {&playing, &slow}) EXPECT_EQ(ours->service.count("Play()"), 1);
  for (const Player* other : {&paused, &stopped, &mirror, &leaving}) EXPECT_EQ(other->service.count("Play()"), 0);
}

TEST_F(MprisMediaPlaybackTest, WithoutABusNothingHappensAndABusThatComesBackIsFound) {
  BusConnection none(executor, workers, [] { return QDBusConnection::connectToBus("unix:path=/no/bus", "nobody"); });
  MprisMediaPlayback nothing(none);
  EXPECT_EQ(run(nothing.pause()), 0);
  run(nothing.play());

  BusConnection session(executor, workers, opener());
  MprisMediaPlayback media(session);
  EXPECT_EQ(run(media.pause()), 0);
  bus.restart();
  Player player(connect(), "late", "Playing");
  int paused = 0;  // until the loss of the old bus has been noticed
  for (int attempt = 0; attempt < 1000 && paused == 0; ++attempt) paused = run(media.pause());
  EXPECT_EQ(paused, 1);
}

}  // namespace
}  // namespace quillmere
