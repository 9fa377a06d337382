#include <string>
#include <vector>

#include "PolkitScriptRunner.h"
#include "ScriptBox.h"
#include "ScriptCompiler.h"

namespace fillstation::test {
namespace {

using Script = ScriptError;

// What a person may type into the two fields, and what becomes of it with the real polkit: it is
// taken as it is or refused, and nothing of it is ever interpreted.
class ScriptCredentialsTest : public ScriptBoxTest {
 protected:
  struct Row {
    std::string user;
    std::string password;
    std::int64_t number;
  };
  // The device is none: after the credentials were accepted, that is the refusal.
  static constexpr std::int64_t kAccepted = Script::kNotThePlayer;

  // The text that a task makes of them, run for a device.
  static Call call(const Row& row) {
    return {"script", "",
            "do shell script \"mkfs.fat -F32 /dev/null\" user name \"" + row.user +
                "\" password \"" + row.password + "\" with administrator privileges"};
  }
  static void expectRows(const std::vector<Row>& rows) {
    std::vector<Call> calls;
    for (const auto& row : rows) {
      calls.push_back(call(row));
    }
    const auto replies = Window("tester", calls).replies();
    ASSERT_EQ(replies.size(), rows.size());
    for (std::size_t at = 0; at < rows.size(); ++at) {
      EXPECT_EQ(replies[at].exitStatus, rows[at].number)
          << "[" << rows[at].user.substr(0, 80) << "] [" << rows[at].password.substr(0, 80)
          << "]: " << replies[at].err;
    }
    EXPECT_FALSE(exists("/run/box/ran"));
    EXPECT_FALSE(exists("/root/ran"));
  }
};

const std::string kRun = "touch /run/box/ran";

TEST_F(ScriptCredentialsTest, TheRightOnesAreAcceptedWhateverTheyHold) {
  expectRows({{"boss", kBossPassword, kAccepted},
              {"second", "Grüße mit Umläuten", kAccepted},
              {"third", std::string(510, 'x'), kAccepted}});
}

TEST_F(ScriptCredentialsTest, APasswordIsTakenAsItIsOrRefused) {
  constexpr auto kWrong = Script::kWrongCredentials;
  constexpr auto kNone = kScriptSyntaxErrorNumber;
  expectRows({
      {"boss", "", kWrong},
      {"boss", "two  blanks, 'and' $igns;", kWrong},  // without its first blank
      {"boss", kBossPassword + " ", kWrong},
      {"boss", kBossPassword + "\n", kWrong},
      {"boss", "\n" + kBossPassword, kWrong},
      {"boss", kBossPassword + "\r", kWrong},
      {"boss", kBossPassword + std::string("\0more", 5), kWrong},
      {"boss", "$(" + kRun + ")", kWrong},
      {"boss", "`" + kRun + "`", kWrong},
      {"boss", "; " + kRun + " #", kWrong},
      {"boss", "' ; " + kRun + " '", kWrong},
      {"boss", "%s%n%@", kWrong},
      {"boss",
       "Gr\xFC\xDF"
       "e",
       kWrong},
      {"second", "Gru\u0308\u00DFe mit Umla\u0308uten", kWrong},  // the same to the eye
      {"third", std::string(511, 'x'), kWrong},
      {"third", std::string(509, 'x'), kWrong},
      {"boss", std::string(1 << 20, 'x'), kWrong},
      {"boss", "\"", kNone},
      {"boss", "\\", kNone},
      {"boss", kBossPassword + "\" with administrator privileges", kNone},
      {"boss", "\" password \"" + kBossPassword, kNone},
      {"boss", "\\\" & \"" + kRun, kNone},
  });
}

TEST_F(ScriptCredentialsTest, AUserNameIsTakenAsItIsOrRefused) {
  constexpr auto kUnknown = Script::kUnknownUser;
  constexpr auto kNone = kScriptSyntaxErrorNumber;
  const std::string& word = kBossPassword;
  expectRows({
      {"", word, kUnknown},
      {"boss ", word, kUnknown},
      {" boss", word, kUnknown},
      {"BOSS", word, kUnknown},
      {"boss\n", word, kUnknown},
      {"boss\nsecond", word, kUnknown},
      {std::string("boss\0", 5), word, kUnknown},
      {std::string("boss\0second", 11), word, kUnknown},
      {"bo\u0455s", word, kUnknown},
      {"b\xF6ss", word, kUnknown},
      {"boss:x:0:0", word, kUnknown},
      {"boss,second", word, kUnknown},
      {"%boss", word, kUnknown},
      {"unix-user:boss", word, kUnknown},
      {"0", word, kUnknown},
      {"-u", word, kUnknown},
      {"--help", word, kUnknown},
      {"../boss", word, kUnknown},
      {"*", word, kUnknown},
      {"$(" + kRun + ")", word, kUnknown},
      {"`" + kRun + "`", word, kUnknown},
      {"boss; " + kRun, word, kUnknown},
      {"boss' ; " + kRun + " '", word, kUnknown},
      {std::string(1 << 20, 'b'), word, kUnknown},
      {"root", word, Script::kNotAdministrator},
      {"boss\"", word, kNone},
      {"boss\\", word, kNone},
      {"boss\" password \"" + word, "more", kNone},
      {"boss\" password \"" + word + "\" with administrator privileges", "more", kNone},
  });
}

}  // namespace
}  // namespace fillstation::test
