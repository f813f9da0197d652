// The way of a model through the preprocessor, and what the filter makes of its line markers.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "marker_filter.h"
#include "norvane/base.h"
#include "support.h"

namespace {

using namespace norvane::test;

// Runs the preprocessor in a directory of its own, which is the current one meanwhile.
class PreprocessTest : public testing::Test {
  protected:
    PreprocessTest() : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(directory.path());
        open_before_ = open_descriptors();
    }
    ~PreprocessTest() override {
        EXPECT_EQ(open_descriptors(), open_before_);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
        std::filesystem::current_path(before_);
    }

    // The status; its messages are not of interest.
    static int run(const std::string& input, std::vector<std::string> args = {},
                   const std::string& output = "out.pm") {
        PolyList* list = plist_new(nullptr, nullptr, nullptr);
        for (std::string& arg : args)
            plist_append(list, arg.data());
        testing::internal::CaptureStderr();
        const int status = os_pre_process_file(output.c_str(), input.c_str(), list);
        messages = testing::internal::GetCapturedStderr();
        plist_delete(list);
        return status;
    }

    // The result for a model "m.pm".
    std::string result(const std::string& model, std::vector<std::string> args = {}) {
        directory.write("m.pm", model);
        os_delete_file("out.pm");
        EXPECT_EQ(run("m.pm", std::move(args)), 0) << messages;
        return read_file("out.pm");
    }

    // Puts a program of this script in the place of the preprocessor.
    void replace_cpp(const std::string& script) {
        directory.write("bin/cpp", "#!/bin/sh\n" + script);
        chmod("bin/cpp", 0700);
        setenv("PATH", (directory.path() + "/bin:" + path_before_).c_str(), 1);
    }
    void TearDown() override { setenv("PATH", path_before_.c_str(), 1); }

    static std::ptrdiff_t open_descriptors() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    }

    TemporaryDirectory directory;
    static inline std::string messages;

  private:
    std::filesystem::path before_;
    std::string path_before_ = getenv("PATH");
    std::ptrdiff_t open_before_;
};

TEST_F(PreprocessTest, TheResultHasDirectivesWhereTheReaderTakesThemAndTheTextAsItWas) {
    directory.write("a.inc", "in a\n#include \"b.inc\"\nend of a");
    directory.write("b.inc", "/* b */");
    const std::string skipped = "#if 0\n" + std::string(20, '\n') + "#endif\n";
    struct {
        std::string name, model, result; // the result after its first line
    } const cases[] = {
        {"macros expand in ranges, but not in strings, comments and after an apostrophe",
         "#define MAX 7\nx : [0..MAX]; \"MAX\" /* MAX */ // MAX\nit's MAX\nMAX",
         "\nx : [0..7]; \"MAX\" /* MAX */ // 7\nit's MAX\n7\n"},
        {"includes in includes, without a line feed at the end", "#include \"a.inc\"\nx\n",
         "\n#line 1 \"a.inc\"\nin a\n\n#line 1 \"b.inc\"\n/* b */\n#line 3 \"a.inc\"\nend of a\n"
         "#line 2 \"m.pm\"\nx\n"},
        {"directives of the model, those that carry a text among them",
         "#line 1 \"#x = \\\"a\\\"\"\nx\n#line 7 \"dir\\\\f.pm\"\ny\n#line 9\nz\n",
         "#line 1 \"#x = \"a\"\"\nx\n#line 7 \"dir\\f.pm\"\ny\n#line 9 \"dir\\f.pm\"\nz\n"},
        {"positions in no file", "#line 5 \"<none>\"\nx\n#line 0 \"zero\"\ny\nz\n",
         "x\ny\n#line 1 \"zero\"\nz\n"},
        {"lines that only look like markers",
         "/* a\n# 3 \"f\"\n*/\n # 4 \"g\"\n#ident \"x /* y\"\nz\n",
         "/* a\n# 3 \"f\"\n*/\n # 4 \"g\"\n#ident \"x /* y\"\nz\n"},
        {"a comment that is over for the preprocessor only",
         "/* /* i */ it's /* \n" + skipped + "t\n# 5 \"g*/\"\nc */ */ x\ny\n",
         "/* /* i */ it's /* \n# 24 \"m.pm\"\nt\n# 5 \"g*/\"\nc */ */ x\n#line 6 \"g*/\"\ny\n"},
        {"a string over lines, with escapes", "x = \"a\\\"/*\n" + skipped + "b\n\\\\\" y\nz\n",
         "x = \"a\\\"/*\nb\n\\\\\" y\n#line 26 \"m.pm\"\nz\n"},
        {"joined lines and macro calls over lines", "#define F(a, b) a+b\nF(1,\n2) \\\n x\ny\n",
         "\n1+ 2  x\n\n\ny\n"},
        {"bytes of any kind", std::string("\xe5 \0 \x93\n\r\n\t\x01", 10),
         std::string("\xe5 \0 \x93\n\n\t\x01\n", 10)},
        {"nothing", "", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(result(c.model), "#line 1 \"m.pm\"\n" + c.result) << c.name;
}

TEST_F(PreprocessTest, AHostIsToldEachFileThatIsReadAndNoneThatIsOnlyNamed) {
    directory.write("a b\\c.inc", "x\n");
    directory.write("empty.inc", "");
    directory.write("named.inc", "");
    std::string read;
    os_set_include_sink(
        [](const char* file, void* user) {
            *static_cast<std::string*>(user) += std::string(file) + "|";
        },
        &read);
    result("#include \"empty.inc\"\n#line 1 \"named.inc\"\n"
           "/* /* */\n#include \"./empty.inc\"\n*/ \"\n#include <a b\\c.inc>\n\"\n"
           "#if 0\n#include \"named.inc\"\n#endif\n",
           {"-I."});
    os_set_include_sink(nullptr, nullptr);
    EXPECT_EQ(read, "empty.inc|./empty.inc|./a b\\c.inc|");
}

TEST_F(PreprocessTest, NamesAndArgumentsArePassedOnAsTheyAre) {
    directory.write("-I.pm", "N");
    EXPECT_EQ(run("-I.pm", {"-DN=$HOME;*"}), 0) << messages;
    EXPECT_EQ(read_file("out.pm"), "#line 1 \"./-I.pm\"\n$HOME;*\n");
    EXPECT_EQ(std::filesystem::status("out.pm").permissions(), std::filesystem::perms(0600));
    directory.write("@options.pm", "x\n");
    directory.write("options.pm", "-o stolen.pm");
    EXPECT_EQ(run("@options.pm", {"-DN"}, "at.pm"), 0) << messages;
    EXPECT_EQ(read_file("at.pm"), "#line 1 \"./@options.pm\"\nx\n");
    const std::string odd = "o\"\\\001 \xc3\xa6.pm";
    directory.write(odd, "x\n");
    EXPECT_EQ(run(odd, {}, "odd.pm"), 0) << messages;
    EXPECT_EQ(read_file("odd.pm"), "#line 1 \"" + odd + "\"\nx\n");
}

TEST_F(PreprocessTest, OnlyWhatThePreprocessorNeedsOfTheEnvironmentReachesIt) {
    constexpr const char* variables[] = {"CPATH", "C_INCLUDE_PATH", "SUNPRO_DEPENDENCIES",
                                         "GCC_EXEC_PREFIX"};
    replace_cpp("printf '%s|' \"$@\"; echo; env | cut -d= -f1 | grep -v '^_$\\|^PWD$' | sort");
    for (const char* variable : variables)
        setenv(variable, "/x", 1);
    setenv("TMPDIR", "/tmp", 1);
    EXPECT_EQ(run("m.pm", {"-DX"}), 0);
    for (const char* variable : variables)
        unsetenv(variable);
    EXPECT_EQ(read_file("out.pm"),
              "-traditional-cpp|-C|-undef|-nostdinc|-w|-dumpbase|model|-x|c|-DX|m.pm|\n"
              "HOME\nLC_ALL\nPATH\nTMPDIR\n");
}

TEST_F(PreprocessTest, ArgumentsThatCouldMeanSomethingElseNeverReachThePreprocessor) {
    replace_cpp("for a; do case $a in -[IDU]*|?*.pm) printf '%s|' \"$a\";; esac; done");
    const std::pair<std::vector<std::string>, std::string> passed[] = {
        {{"-I@types", "-I", "@r.pm"}, "-I./@types|-I./@r.pm|m.pm|"},
        {{"-I-", "-I", "--", "-I=root", "-I$SYSROOT/x"},
         "-I./-|-I./--|-I./=root|-I./$SYSROOT/x|m.pm|"},
        {{"-I", "a b", "-I/x", "-I.."}, "-Ia b|-I/x|-I..|m.pm|"},
        {{"-DA", "-D", "B=@x", "-DF(x)=x\t", "-U_C"}, "-DA|-DB=@x|-DF(x)=x\t|-U_C|m.pm|"},
        {{"-I", "-DA"}, "-I./-DA|m.pm|"},
    };
    // clang-format off
    const std::vector<std::string> refused[] = {
        {"-D@x"}, {"-D", "@x"}, {"-U@x"}, {"-U", "A B"}, {"-D"}, {"-I"}, {"-I", ""}, {"-U", ""},
        {"-D-A"}, {"-D1"}, {"-U-"}, {"-DA B"}, {"-DA=1\n-o x"}, {"@x"}, {"@Ix"}, {"xDx"}, {"-"}, {"--"}, {""},
        {"--include=x"}, {"-include", "x"}, {"x.pm"}, {"-fplugin=x"}};
    // clang-format on
    for (const auto& [args, given] : passed) {
        os_delete_file("out.pm");
        EXPECT_EQ(run("m.pm", args), 0) << args[0] << messages;
        EXPECT_EQ(messages.find(" is refused: "), messages.npos) << messages;
        EXPECT_EQ(given, read_file("out.pm"));
    }
    for (const auto& args : refused) {
        EXPECT_NE(run("m.pm", args), 0) << args[0];
        EXPECT_NE(messages.find(" is refused: "), messages.npos) << args[0] << messages;
    }
}

// What a sink is told, one message a line.
std::string told;

void tell(const OsPreprocessorMessage* m, void*) {
    told += m->is_error ? "error " : m->is_note ? "note " : "warning ";
    if (m->place.file) told += m->place.file + (":" + std::to_string(m->place.line)) + " ";
    told += m->text;
    for (unsigned i = 0; i < m->included_count; ++i)
        told += std::string(" < ") + m->included_from[i].file + ":" +
                std::to_string(m->included_from[i].line);
    told += "\n";
}

TEST_F(PreprocessTest, DefinitionsStayInTheTextForAHostThatWantsThem) {
    const std::string model = "#define A(x, y) x \\\n+ y\n#undef A\na;\n";
    os_set_preprocessor_definitions(1);
    const std::string kept = result(model, {"-DB=2"});
    os_set_preprocessor_definitions(0);
    EXPECT_LT(kept.find("#define B 2\n"), kept.find("#line 1 \"m.pm\"\n"));
    EXPECT_NE(kept.find("\n#define A(x,y) x + y\n\n#undef A\na;\n"), std::string::npos) << kept;
    EXPECT_EQ(result(model, {"-DB=2"}).find("#define"), std::string::npos);
}

TEST_F(PreprocessTest, AHostIsToldWhatThePreprocessorSaysAndWhyItFailed) {
    directory.write("car.pm", "\n#include \"a: b.pm\"\n");
    directory.write("a: b.pm", "#include \"engine.pm\"\n");
    directory.write("engine.pm",
                    "x;\n\n#error no 5:6: fatal error: here\n#include \"none.pm\"\ny\n");
    told.clear();
    os_set_preprocessor_sink(tell, nullptr);
    EXPECT_NE(run("car.pm"), 0);
    EXPECT_EQ(told, "error engine.pm:3 #error no 5:6: fatal error: here < a: b.pm:1 < car.pm:2\n"
                    "error engine.pm:4 none.pm: No such file or directory\n");
    EXPECT_EQ(messages, "");
    directory.write("warned.pm", "#define A 1\n#define A 2\n#if B\n#endif\n#warning take care\n");
    const std::string warnings =
        "warning warned.pm:2 \"A\" redefined\n"
        "note warned.pm:1 this is the location of the previous definition\n"
        "warning warned.pm:3 \"B\" is not defined, evaluates to 0\n"
        "warning warned.pm:5 #warning take care\n";
    for (const bool are_wanted : {true, false}) {
        told.clear();
        os_set_preprocessor_warnings(are_wanted);
        os_delete_file("out.pm");
        EXPECT_EQ(run("warned.pm"), 0);
        EXPECT_EQ(told, are_wanted ? warnings : "");
    }
    os_delete_file("out.pm");

    directory.write("m.pm", "#\n");
    const std::string stopped =
        "the C preprocessor was stopped after 1 s: an included file may be a "
        "pipe that nothing is written to";
    const std::pair<std::string, std::string> failures[] = {
        {"exit 3", "the C preprocessor ended with status 3"},
        {"printf '\\ncc1: no memory\\nat all\\n' >&2; exit 1",
         "the C preprocessor ended with status 1: cc1: no memory"},
        {"echo x; kill -9 $$", "the C preprocessor was ended by signal 9"},
        {"echo 'cpp: fatal error: no input' >&2; echo 'm.pm:3: note: a b' >&2; exit 1",
         "no input\nnote m.pm:3 a b"},
        {"sleep 60", stopped},
        {"exec >&- 2>&-; sleep 60", stopped},
    };
    os_set_preprocessor_time(1);
    for (const auto& [script, text] : failures) {
        told.clear();
        replace_cpp(script);
        os_delete_file("out.pm");
        EXPECT_NE(run("m.pm"), 0);
        EXPECT_EQ(told, "error " + text + "\n");
    }
    os_set_preprocessor_time(120);
    told.clear();
    EXPECT_NE(run("m.pm", {}, "none/out.pm"), 0);
    setenv("PATH", directory.path().c_str(), 1);
    EXPECT_NE(run("m.pm", {}, "nocpp.pm"), 0);
    os_set_preprocessor_sink(nullptr, nullptr);
    EXPECT_EQ(told, "error cannot create 'none/out.pm': No such file or directory\n"
                    "error cannot run the C preprocessor 'cpp': No such file or directory\n");
}

#ifndef __SANITIZE_ADDRESS__ // which has memory of its own
TEST_F(PreprocessTest, APreprocessorIsEndedWhereItsMessagesFindNoMemory) {
    replace_cpp("head -c 200000 /dev/zero >&2; sleep 300");
    os_set_preprocessor_sink(tell, nullptr);
    rlimit before;
    getrlimit(RLIMIT_AS, &before);
    rlimit few = before;
    few.rlim_cur = 256u << 20;
    std::vector<void*> taken(10'000);
    setrlimit(RLIMIT_AS, &few);
    for (void*& block : taken)
        block = std::malloc(64u << 10);
    const std::string text = thrown([] { run("m.pm"); });
    setrlimit(RLIMIT_AS, &before);
    for (void* block : taken)
        std::free(block);
    EXPECT_EQ(text, "1: Out of memory");
    os_set_preprocessor_sink(nullptr, nullptr);
    messages = testing::internal::GetCapturedStderr();
}
#endif

// True as soon as no process of the group is left, or false after ten seconds.
bool ends_soon(pid_t group) {
    for (int i = 0; i < 1000; ++i) {
        if (kill(-group, 0) != 0) return true;
        usleep(10'000);
    }
    return false;
}

TEST_F(PreprocessTest, ThePreprocessorAndWhatItStartsEndWithAHostThatIsKilled) {
    replace_cpp("sleep 300 & echo $$ > group; trap '' INT TERM HUP; sleep 300; sleep 300");
    const pid_t host = fork();
    if (host == 0) _exit(run("m.pm"));
    std::string group;
    for (int i = 0; i < 1000 && group.empty(); ++i) {
        usleep(10'000);
        if (std::filesystem::exists("group")) group = read_file("group");
    }
    kill(host, SIGKILL);
    waitpid(host, nullptr, 0);
    ASSERT_NE(group, "");
    EXPECT_TRUE(ends_soon(std::stoi(group)));
}

TEST_F(PreprocessTest, WithoutASinkMessagesGoToStandardErrorAndFilesThatAreThereAreKept) {
    EXPECT_NE(run("none.pm"), 0);
    directory.write("bad.pm", "#include \"none.inc\"\n");
    EXPECT_NE(run("bad.pm", {}, "bad.out"), 0);
    EXPECT_NE(messages.find("none.inc"), std::string::npos) << messages;

    directory.write("m.pm", "x\n");
    directory.write("there.pm", "kept");
    symlink("elsewhere.pm", "link.pm");
    EXPECT_NE(run("m.pm", {}, "there.pm"), 0);
    EXPECT_NE(run("m.pm", {}, "link.pm"), 0);
    EXPECT_EQ(read_file("there.pm"), "kept");
    EXPECT_FALSE(std::filesystem::exists("elsewhere.pm"));
}

TEST_F(PreprocessTest, OutputThatCannotBeWrittenEndsAPreprocessorThatNeverWould) {
    replace_cpp("yes & sleep 30");
    const std::time_t start = std::time(nullptr);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 1 << 20;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const int status = run("m.pm");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_NE(status, 0);
    EXPECT_LT(std::time(nullptr) - start, 20);
}

TEST_F(PreprocessTest, WhatIsCopiedWithoutThePreprocessorIsWhatItWouldWrite) {
    constexpr std::size_t block = 131'072;
    // clang-format off
    const std::string pieces[] = {
        "/*", "/*", "*/", "/", "*", "/*/", "\n", "\n\n\n\n\n\n\n\n\n\n", "\"", "'", "\t", " ", "x", "_",
        "A", "unix", "defined", "_Pragma(\"x\")", "?\?/\n", "%:", "include \"n\"\n", "\xe6", "\xff",
        "\x7f", "\xef\xbb\xbf", "\\\n", "\r", "\r\n", "__LINE__", "__COUNTER__", "#", "\n#if 0\n", "\1"};
    // clang-format on
    constexpr std::size_t count = std::size(pieces);
    std::mt19937 random(1);
    int copied = 0;
    for (int i = 0; i < 300; ++i) {
        std::string model;
        const std::size_t kinds = i % 2 == 0 ? count - 8 : count; // without those that are special
        for (auto n = random() % 12; n > 0; --n)
            model += pieces[random() % kinds];
        if (i % 4 == 0) model.insert(0, block - 1, ' ');
        if (random() % 2 == 0) model += "*/";
        directory.write("m.pm", model);
        os_delete_file("out.pm");
        setenv("PATH", "", 1);
        const bool is_copied = run("m.pm") == 0;
        TearDown();
        if (!is_copied) continue;
        ++copied;
        const std::string copy = read_file("out.pm");
        ASSERT_TRUE(result(model, {"-DUNUSED"}) == copy) << model; // -D needs the preprocessor
    }
    EXPECT_GT(copied, 120);
}

TEST_F(PreprocessTest, OnlyFilesAndDirectoriesThatAreThereNeedNoPreprocessor) {
    std::filesystem::create_directory("dir");
    mkfifo("fifo.pm", 0600);
    directory.write("dir/m.pm", "x");
    directory.write("<m>", "x");
    directory.write("a\"b.pm", "x");
    const std::tuple<std::string, std::vector<std::string>, bool> cases[] = {
        {"dir/m.pm", {}, true},
        {"dir/m.pm", {"-I", ".", "-Idir"}, true},
        {"dir/m.pm", {"-Inone"}, false},
        {"dir/m.pm", {"-Idir/m.pm"}, false},
        {"dir/m.pm", {"-DA"}, false},
        {"dir/m.pm", {"-I.", "-U", "A"}, false},
        {"<m>", {}, false},
        {"a\"b.pm", {}, false},
        {"fifo.pm", {}, false},
        {"dir", {}, false},
        {"none.pm", {}, false},
    };
    setenv("PATH", "", 1);
    for (const auto& [name, args, is_copied] : cases) {
        os_delete_file("out.pm");
        EXPECT_EQ(run(name, args) == 0, is_copied) << name << " " << args.size();
        if (!is_copied) continue;
        EXPECT_EQ(read_file("out.pm"), "#line 1 \"" + name + "\"\nx\n");
    }
}

TEST_F(PreprocessTest, LargeModelsComeThroughWhole) {
    std::string model = "#line 1 \"m.pm\"\n";
    for (int i = 0; i < 100'000; ++i)
        model += "rule it = \"a \\\" b\" /* don't / * count */ -> x > " + std::to_string(i) + ";\n";
    model += "/*" + std::string(300'000, '*') + "*/" + std::string(300'000, '#') + "\n";
    model += "# " + std::string(300'000, '1') + "\n";
    const std::string text = model.substr(model.find('\n') + 1);
    directory.write("whole.pm", text);
    replace_cpp("echo '# 1 \"m.pm\"'; cat whole.pm");
    EXPECT_TRUE(result("#") == model);
}

TEST(MarkerFilterTest, TheSizeOfTheBlocksMakesNoDifference) {
    const std::string input =
        "# 0 \"m.pm\"\n# 1 \"m.pm\"\nx /* /* */\n# 5 \"n\" 1\n*/ \"a\\\\\\\"\n"
        "# 9 \"m.pm\" 2\n\" it's /*\n# 20 \"a\\\\\\303\\246\\012\"\n*/\ny\n"
        "#pragma \"\n# 1 \"open\nz \"\\\n# 30 \"m.pm\"";
    const std::string expected = "#line 1 \"m.pm\"\nx /* /* */\n# 5 \"n\" 1\n*/ \"a\\\\\\\"\n"
                                 "\" it's /*\n# 20 \"a\\\\\\303\\246\\012\"\n*/\n"
                                 "#line 21 \"a\\\xc3\xa6\\012\"\ny\n"
                                 "#pragma \"\n# 1 \"open\nz \"\\\n# 30 \"m.pm\"";
    static norvane::os::MarkerFilter filter;
    for (std::size_t block = 1; block <= input.size(); ++block) {
        std::string output;
        filter.begin([](void* user, const char* data,
                        std::size_t size) { static_cast<std::string*>(user)->append(data, size); },
                     &output, [](const char*) {});
        for (std::size_t at = 0; at < input.size(); at += block) {
            const std::size_t size = std::min(block, input.size() - at);
            input.copy(filter.room().data(), size, at);
            filter.received(size);
        }
        filter.end();
        ASSERT_EQ(output, expected) << "blocks of " << block;
    }
}

} // namespace
