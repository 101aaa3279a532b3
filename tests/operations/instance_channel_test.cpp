// The hand-over from a second launch: the socket's place and the message.

#include "operations/instance_channel.h"

#include <gtest/gtest.h>

namespace melos::test {

TEST(InstanceChannel, SocketLivesInTheRuntimeFolderElsePerUserInTmp) {
  EXPECT_EQ(instanceSocketPath("/run/user/1000", 1000), "/run/user/1000/meloscribe.socket");
  EXPECT_EQ(instanceSocketPath(nullptr, 1000), "/tmp/meloscribe-1000.socket");
  EXPECT_EQ(instanceSocketPath("relative", 42), "/tmp/meloscribe-42.socket");
}

TEST(InstanceChannel, PathsSurviveTheRoundTripInOrderAndOtherMessagesAreRefused) {
  const std::vector<std::string> paths = {"/music/a b.mp3", "/music/\xC3\xA9t\xC3\xA9.aif", "/music"};
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest(paths)), paths);
  // A line feed in a path must not split it into another path.
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest({"/a\n/etc/passwd", "", "/b.mp3"})), std::vector<std::string>{"/b.mp3"});
  for (const char* other : {"", "hello\n/a.mp3\n", "meloscribe-open 1\n/a.mp3"})
    EXPECT_EQ(decodeOpenRequest(other), std::nullopt) << other;
}

}  // namespace melos::test
