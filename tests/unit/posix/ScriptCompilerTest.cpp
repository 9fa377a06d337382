#include "ScriptCompiler.h"

#include <gtest/gtest.h>

#include <string>

namespace fillstation {
namespace {

void expectRefused(const std::string& source) {
  const auto compiled = compileScript(source);
  const auto* outcome = std::get_if<ScriptOutcome>(&compiled);
  ASSERT_NE(outcome, nullptr) << source;
  EXPECT_FALSE(outcome->result) << source;
  EXPECT_EQ(outcome->errorNumber, -1001) << source;
  EXPECT_EQ(outcome->errorMessage,
            "The script is not a single command with a user name and a password.")
      << source;
}

void expectCompiled(const std::string& source, const std::string& command,
                    const std::string& userName, const std::string& password) {
  const auto compiled = compileScript(source);
  const auto* script = std::get_if<Script>(&compiled);
  ASSERT_NE(script, nullptr) << source;
  EXPECT_EQ(script->command, command);
  EXPECT_EQ(script->userName, userName);
  EXPECT_EQ(script->password, password);
}

const std::string kSource =
    "do shell script \"dd if=/dev/zero of=/dev/sdb bs=4k count=10\" user name \"anna\" password "
    "\"s3cret\" with administrator privileges";

TEST(ScriptCompiler, StringsMayBeEmptyOrHoldAnyOtherBytes) {
  expectCompiled(kSource, "dd if=/dev/zero of=/dev/sdb bs=4k count=10", "anna", "s3cret");
  expectCompiled("do shell script \"\" user name \"\" password \"\" with administrator privileges",
                 "", "", "");
  expectCompiled(
      "do shell script \"a\nb; 'c' $d\" user name \"J\xc3\xb6rg \xff\" password \" user name \" "
      "with administrator privileges",
      "a\nb; 'c' $d", "J\xc3\xb6rg \xff", " user name ");
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += byte == '"' || byte == '\\' ? ' ' : static_cast<char>(byte);
  }
  expectCompiled("do shell script \"" + bytes + "\" user name \"" + bytes + "\" password \"" +
                     bytes + "\" with administrator privileges",
                 bytes, bytes, bytes);
}

TEST(ScriptCompiler, RefusesEveryTextThatIsCutOff) {
  for (std::size_t size = 0; size < kSource.size(); ++size) {
    expectRefused(kSource.substr(0, size));
  }
}

TEST(ScriptCompiler, RefusesAnyByteTooMuchOrMissingOutsideTheStrings) {
  for (const std::string insert : {" ", "\n", "\t", "x", "\""}) {
    expectRefused(insert + kSource);
    expectRefused(kSource + insert);
    for (const std::string at : {" shell", " script", " user", " name", " password", " with",
                                 " administrator", " privileges"}) {
      std::string source = kSource;
      expectRefused(source.insert(source.find(at), insert));
    }
  }
  for (const std::string word : {"do", "shell", "script", "user", "name", "password", "with",
                                 "administrator", "privileges"}) {
    std::string source = kSource;
    expectRefused(source.erase(source.find(word), 1));
  }
}

TEST(ScriptCompiler, RefusesDoubleQuotesAndBackslashesInAnyString) {
  for (const std::string inside : {"dd if", "anna", "s3cret"}) {
    for (const std::string byte : {"\"", "\\", "\\\""}) {
      std::string source = kSource;
      expectRefused(source.insert(source.find(inside) + 2, byte));
    }
  }
}

std::string wipeOf(const std::string& node) {
  return "dd if=/dev/zero of=" + node + " bs=4k count=10";
}
std::string formatOf(const std::string& node) { return "mkfs.fat -F32 " + node; }

TEST(PlayerCommand, RecognisesBothCommands) {
  for (const std::string node : {"/dev/sdb", "/dev/vp0", "/dev/a", "/dev/z9", "/dev/vp1234567890",
                                 "/dev/abcdefghijklmnopqrstuvwxyz0"}) {
    const auto wipe = parsePlayerCommand(wipeOf(node));
    ASSERT_TRUE(wipe) << node;
    EXPECT_EQ(wipe->kind, PlayerCommand::wipe);
    EXPECT_EQ(wipe->node, node);
    const auto format = parsePlayerCommand(formatOf(node));
    ASSERT_TRUE(format) << node;
    EXPECT_EQ(format->kind, PlayerCommand::format);
    EXPECT_EQ(format->node, node);
  }
}

TEST(PlayerCommand, ANodeHasAtMost32Characters) {
  const std::string longest = "/dev/" + std::string(20, 's') + "1234567";
  ASSERT_EQ(longest.size(), 32U);
  EXPECT_TRUE(parsePlayerCommand(formatOf(longest)));
  EXPECT_FALSE(parsePlayerCommand(formatOf(longest + "8")));
}

TEST(PlayerCommand, RefusesInvalidNodes) {
  for (const std::string node :
       {"",          "/dev/",           "/dev",        "sdb",        "/dev/1",    "/dev/sd1b",
        "/dev/sdB",  "/dev/sd-b",       "/dev/../sdb", "/dev//sdb",  "/dev/sdb/", "/dev/sdb ",
        " /dev/sdb", "/dev/sdb;reboot", "/dev/sd b",   "/dev/sdb\n", "/dev/`a`",  "/dev/{",
        "/tmp/sdb",  "/dev/a:",         "/dev/a/",     "xdev/sdb"}) {
    EXPECT_FALSE(parsePlayerCommand(wipeOf(node))) << node;
    EXPECT_FALSE(parsePlayerCommand(formatOf(node))) << node;
  }
}

TEST(PlayerCommand, RefusesOtherCommandLines) {
  const std::string node = "/dev/sdb";
  for (const std::string& line :
       {std::string(), node, "dd if=/dev/zero of=" + node, " " + wipeOf(node), wipeOf(node) + " ",
        wipeOf(node) + "0", "dd if=/dev/urandom of=" + node + " bs=4k count=10",
        "dd if=/dev/zero of=" + node + " bs=4k count=11", "dd  if=/dev/zero of=" + node,
        std::string("mkfs.fat -F32"), "mkfs.fat -F32  " + node, "mkfs.fat -F16 " + node,
        "mkfs.fat -F32 -I " + node, "mkfs.ext4 " + node, formatOf(node) + " bs=4k count=10",
        "dd if=/dev/zero of=" + formatOf(node), "mkfs.fat -F32 " + wipeOf(node),
        std::string("dd if=/dev/zero of= bs=4k count=10")}) {
    EXPECT_FALSE(parsePlayerCommand(line)) << line;
  }
}

}  // namespace
}  // namespace fillstation
