// Changes in memory, and what a save makes of them.
#include <cerrno>

#include "ini_families.h"

namespace {

class IniChange : public IniTest {};

constexpr char kCommented[] =
    "; of the file\n"
    "; in two lines\n"
    "\n"
    "# of the key above the sections\n"
    "top=0\n"
    "\n"
    "; of the first section\n"
    "[first]\n"
    "; of x\n"
    "x=1\n"
    "y=2\n"
    "; of the second section\n"
    "[second]\n"
    "z=3\n"
    "\n"
    "; at the end\n"
    "# of all\n";

// The same in the form that a save gives it.
constexpr char kCommentedSaved[] =
    "; of the file\n"
    "; in two lines\n"
    "\n"
    "\n"
    "\n"
    "# of the key above the sections\n"
    "top=0\n"
    "\n"
    "\n"
    "; of the first section\n"
    "[first]\n"
    "\n"
    "; of x\n"
    "x=1\n"
    "y=2\n"
    "\n"
    "\n"
    "; of the second section\n"
    "[second]\n"
    "z=3\n"
    "\n"
    "; at the end\n"
    "# of all\n";

}  // namespace

TEST_P(IniChange, ASetValueIsRead) {
    const Ini ini = Document("[a]\nx=1\n");
    EXPECT_EQ(Set(ini, "a", "x", "2"), 0);
    EXPECT_EQ(Set(ini, "a", "y", "3"), 0);
    EXPECT_EQ(Set(ini, "b", "z", ""), 0);
    EXPECT_EQ(Get(ini, "a", "x"), "2");
    EXPECT_EQ(Get(ini, "a", "y"), "3");
    EXPECT_EQ(Get(ini, "b", "z"), "");
}

TEST_P(IniChange, NewKeysAndSectionsGoToTheEnd) {
    const Ini ini = Document("[b]\ny=1\n[a]\nx=2\n");
    ASSERT_EQ(Set(ini, "b", "a", "3"), 0);
    ASSERT_EQ(Set(ini, "0", "0", "4"), 0);
    ASSERT_EQ(Set(ini, "b", "y", "5"), 0);
    EXPECT_EQ(Saved(ini), "[b]\ny=5\na=3\n\n\n[a]\nx=2\n\n\n[0]\n0=4\n");
}

TEST_P(IniChange, SetTakesBlanksAway) {
    const Ini ini = Document("");
    ASSERT_EQ(Set(ini, " a\t", "\tx ", " 1 2 "), 0);
    EXPECT_EQ(Get(ini, "a", "x"), "1 2");
    EXPECT_EQ(Saved(ini), "[a]\nx=1 2\n");
}

TEST_P(IniChange, SetReplacesAllValuesOfAKey) {
    const Ini ini = Document("[a]\nx=1\ny=2\nx=3\n");
    ASSERT_EQ(Set(ini, "a", "x", "4"), 0);
    EXPECT_EQ(Saved(ini), "[a]\nx=4\ny=2\n");
}

TEST_P(IniChange, SetTakesAValueThatGetReturned) {
    const Ini ini = Document("[a]\nx=1\n");
    ASSERT_EQ(Set(ini, "a", "x", "longer than any text that a string keeps inside itself"), 0);
    ASSERT_EQ(Set(ini, "a", "x", GetParam().get(ini.get(), "a", "x")), 0);
    EXPECT_EQ(Get(ini, "a", "x"), "longer than any text that a string keeps inside itself");
}

TEST_P(IniChange, SetRefusesWhatWouldNotReadBack) {
    const Ini ini = Document("[a]\nx=1\n");
    const struct {
        const char* section;
        const char* key;
        const char* value;
    } kRefused[] = {
        {"a]", "x", "2"},   {"a\nb", "x", "2"}, {"a\rb", "x", "2"}, {"a", "", "2"},
        {"a", " ", "2"},    {"a", "x=y", "2"},  {"a", "x\ny", "2"}, {"a", "x\ry", "2"},
        {"a", "[x", "2"},   {"a", ";x", "2"},   {"a", "#x", "2"},   {"a", "\xEF\xBB\xBFx", "2"},
        {"a", "x", "2\n3"}, {"a", "x", "2\r3"}, {"a", " ;x", "2"},
    };
    for (const auto& [section, key, value] : kRefused) {
        errno = 0;
        EXPECT_EQ(Set(ini, section, key, value), -1) << section << '|' << key << '|' << value;
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(Saved(ini), "[a]\nx=1\n");
}

TEST_P(IniChange, UnusualNamesAndValuesReadBack) {
    const Ini ini = Document("");
    ASSERT_EQ(Set(ini, "[a;=#", "k;[]#", "=[x];#"), 0);
    ASSERT_EQ(Set(ini, "", "<<<", "<<<"), 0);
    ASSERT_EQ(Set(ini, "b", "quoted", "\" x \""), 0);
    const Ini again = Document(Saved(ini));
    EXPECT_EQ(Get(again, "[a;=#", "k;[]#"), "=[x];#");
    EXPECT_EQ(Get(again, "", "<<<"), "<<<");
    EXPECT_EQ(Get(again, "b", "quoted"), "\" x \"");
}

TEST_P(IniChange, SetAndDelRefuseNullArguments) {
    const Ini ini = Document("");
    errno = 0;
    EXPECT_EQ(GetParam().set(nullptr, "a", "x", "1"), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(Set(ini, nullptr, "x", "1"), -1);
    EXPECT_EQ(Set(ini, "a", nullptr, "1"), -1);
    EXPECT_EQ(Set(ini, "a", "x", nullptr), -1);
    errno = 0;
    EXPECT_EQ(GetParam().del(nullptr, "a"), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(Del(ini, nullptr), -1);
    EXPECT_EQ(Saved(ini), "");
}

TEST_P(IniChange, DelRemovesAWholeSection) {
    const Ini ini = Document("[a]\nx=1\nx=2\ny=3\n; of b\n[b]\n; of z\nz=4\n[c]\nu=5\n");
    EXPECT_EQ(Del(ini, "b"), 0);
    EXPECT_EQ(Get(ini, "b", "z"), std::nullopt);
    EXPECT_EQ(Get(ini, "a", "y"), "3");
    EXPECT_EQ(Saved(ini), "[a]\nx=1\nx=2\ny=3\n\n\n[c]\nu=5\n");
}

TEST_P(IniChange, DelOfASectionThatIsNotThereIsFine) {
    const Ini ini = Document("[a]\nx=1\n");
    EXPECT_EQ(Del(ini, "b"), 0);
    EXPECT_EQ(Saved(ini), "[a]\nx=1\n");
}

TEST_P(IniChange, ASectionThatIsFilledAgainKeepsItsPlaceAndItsComment) {
    const Ini ini = Document("[a]\nx=1\n\n; addresses\n[ips]\ncounts=1\nip0=a\n\n[z]\ny=2\n");
    ASSERT_EQ(Del(ini, "ips"), 0);
    ASSERT_EQ(Set(ini, "ips", "counts", "2"), 0);
    ASSERT_EQ(Set(ini, "ips", "ip0", "b"), 0);
    EXPECT_EQ(Saved(ini), "[a]\nx=1\n\n\n; addresses\n[ips]\ncounts=2\nip0=b\n\n\n[z]\ny=2\n");
}

TEST_P(IniChange, ASectionThatIsRemovedTwiceIsGone) {
    const Ini ini = Document("[a]\nx=1\n[b]\ny=2\n");
    ASSERT_EQ(Del(ini, "b"), 0);
    ASSERT_EQ(Set(ini, "b", "z", "3"), 0);
    ASSERT_EQ(Del(ini, "b"), 0);
    EXPECT_EQ(Saved(ini), "[a]\nx=1\n");
    ASSERT_EQ(Set(ini, "b", "z", "4"), 0);
    EXPECT_EQ(Saved(ini), "[a]\nx=1\n\n\n[b]\nz=4\n");
}

TEST_P(IniChange, AnEmptySectionIsKept) {
    EXPECT_EQ(Saved(Document("; nothing yet\n\n[netinfo]\n")), "; nothing yet\n\n\n[netinfo]\n");
}

TEST_P(IniChange, CommentsAndOrderSurviveASave) {
    EXPECT_EQ(Saved(Document(kCommented)), kCommentedSaved);
}

TEST_P(IniChange, ASecondSaveChangesNothing) {
    EXPECT_EQ(Saved(Document(kCommentedSaved)), kCommentedSaved);
}

TEST_P(IniChange, CommentsSurviveChangesBelowThem) {
    const Ini ini = Document("[a]\n; of x\nx=1\n; of y\ny=2\n; at the end\n");
    ASSERT_EQ(Set(ini, "a", "x", "3"), 0);
    ASSERT_EQ(Set(ini, "b", "z", "4"), 0);
    EXPECT_EQ(Saved(ini), "[a]\n\n; of x\nx=3\n\n; of y\ny=2\n\n\n[b]\nz=4\n\n; at the end\n");
}

TEST_P(IniChange, AFileOfCommentsStaysOne) {
    EXPECT_EQ(Saved(Document("; one\n\n# two")), "; one\n\n# two\n");
}

TEST_P(IniChange, CommentsOfRepeatedKeysAndSectionsSurvive) {
    EXPECT_EQ(
        Saved(Document("[a]\n; 1\nx=1\n; 2\nx=2\n[b]\ny=3\n; again\n[a]\nz=4\n; last\n[b]\n")),
        "[a]\n\n; 1\nx=1\n\n; 2\nx=2\n\n; again\nz=4\n\n\n[b]\ny=3\n\n; last\n");
}

TEST_P(IniChange, CommentsAboveTheEmptySectionSurvive) {
    EXPECT_EQ(Saved(Document("x=1\n; again\n[]\ny=2\n")), "x=1\n\n; again\ny=2\n");
}

TEST_P(IniChange, LinesThatWerePassedOverSurviveAsComments) {
    EXPECT_EQ(Saved(Document("[a] the section\ngarbage\nx=1\n=2\n[broken\n")),
              "; the section\n\n\n[a]\n\n; garbage\nx=1\n\n; =2\n; [broken\n");
}

TEST_P(IniChange, AByteOrderMarkSurvives) {
    EXPECT_EQ(Saved(Document("\xEF\xBB\xBF[a]\nx=1\n")), "\xEF\xBB\xBF[a]\nx=1\n");
}

TEST_P(IniChange, LinesEndInLfAfterASave) {
    EXPECT_EQ(Saved(Document("; c\r\n[a]\r\nx = 1\r\n")), "; c\n\n\n[a]\nx=1\n");
}

INI_TEST_SUITE(IniChange);
