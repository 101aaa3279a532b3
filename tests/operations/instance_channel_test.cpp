// The hand-over from a second launch: the socket's place and the message.

#include "operations/instance_channel.h"

#include <gtest/gtest.h>

namespace melos::test {
namespace {

TEST(InstanceChannel, SocketLivesInTheRuntimeFolderElsePerUserInTmp) {
  EXPECT_EQ(instanceSocketPath("/run/user/1000", 1000), "/run/user/1000/meloscribe.socket");
  EXPECT_EQ(instanceSocketPath(nullptr, 1000), "/tmp/meloscribe-1000.socket");
  EXPECT_EQ(instanceSocketPath("", 42), "/tmp/meloscribe-42.socket");
  EXPECT_EQ(instanceSocketPath("relative", 42), "/tmp/meloscribe-42.socket");
}

TEST(InstanceChannel, PathsSurviveTheRoundTripInOrder) {
  const std::vector<std::string> paths = {"/music/a b.mp3", "/music/\xC3\xA9t\xC3\xA9.aif", "/music"};
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest(paths)), paths);
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest({})), std::vector<std::string>{});
}

TEST(InstanceChannel, ALineFeedInAPathCannotSplitIt) {
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest({"/a\n/etc/passwd", "/b.mp3"})),
            std::vector<std::string>{"/b.mp3"});
}

TEST(InstanceChannel, OtherMessagesAreRefused) {
  EXPECT_EQ(decodeOpenRequest(""), std::nullopt);
  EXPECT_EQ(decodeOpenRequest("hello\n/a.mp3\n"), std::nullopt);
  EXPECT_EQ(decodeOpenRequest("meloscribe-open 1\n/a.mp3"), std::nullopt);
}

}  // namespace
}  // namespace melos::test
