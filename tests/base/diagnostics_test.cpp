// Reports: their records, how they are printed, and the sinks; and progress.
#include "test.h"

namespace {

std::string printed(const ErrorInfo* error, ErrorType type, int flags) {
    return norvane::test::on_stream([&](FILE* stream) { err_print(stream, type, error, flags); });
}

ErrorDescParagraph* append_paragraph(ErrorInfo* error, ErrorPAlign align) {
    ErrorDescParagraph* p = err_p_new(align);
    plist_append(error->paragraphs, p);
    return p;
}

TEST(DiagnosticsTest, AReportWithEveryKindOfRunIsSetForAPerson) {
    ErrorInfo* error = err_new();
    str_snprintf(error->name, sizeof error->name, "ERR_SAMPLE");
    str_snprintf(error->message, sizeof error->message, "a.pm (3): '%s'", "first\nsecond\x1b[1m");
    ErrorDescParagraph* p = append_paragraph(error, ERROR_P_ORDINARY);
    err_p_append_text(p, "  The strings ``");
    err_p_append_code(p, "if  a   then");
    err_p_append_text(p, "'' or ``");
    err_p_append_code(p, "NONE");
    err_p_append_text(p, "'' are ``reserved'' and \n  cannot   be used. See ");
    err_p_append_secref(p, "developer", "Boolean Operators", "BooleanOperators");
    err_p_append_text(p, ", ");
    err_p_append_code(p, "a");
    err_p_append_text(p, "-term, in\n ");
    err_p_append_manref(p, "developer");
    err_p_append_text(p, ".\n \n  For example,");
    err_p_append_code(p, "\n     variable\n       x : [0..3];\n\n     rule\n       x > 2;\n  ");
    err_p_append_text(p, "\nis wrong,\n");
    p = append_paragraph(error, ERROR_P_DISPLAY);
    err_p_append_code(p, "MY_CONST + 2.2 * 3.2");
    append_paragraph(error, ERROR_P_ORDINARY); // and one of nothing
    p = append_paragraph(error, ERROR_P_ORDINARY);
    const std::string word(90, 'w');
    const std::string full(74, 'f'); // fills a line of 78 columns with "too"
    err_p_append_text(p, ("is a " + word + " too " + full + " last").c_str());

    EXPECT_EQ(printed(error, ERROR_TYPE_WARNING, ERR_PRINT_TITLE),
              "warning: a.pm (3): 'first second?[1m' [ERR_SAMPLE]\n");
    EXPECT_EQ(printed(error, ERROR_TYPE_ERROR, ERR_PRINT_DESCRIPTION),
              "error: a.pm (3): 'first second?[1m' [ERR_SAMPLE]\n"
              "\n"
              "The strings `if  a   then` or `NONE` are \"reserved\" and cannot be used. See\n"
              "Boolean Operators (developer), `a`-term, in the developer manual.\n"
              "\n"
              "For example,\n"
              "\n"
              "    variable\n"
              "      x : [0..3];\n"
              "\n"
              "    rule\n"
              "      x > 2;\n"
              "\n"
              "is wrong,\n"
              "\n"
              "    MY_CONST + 2.2 * 3.2\n"
              "\n"
              "is a\n" +
                  word + "\ntoo " + full + "\nlast\n");
    err_delete(error);
}

TEST(DiagnosticsTest, ReportsGoToTheSinkStampedAndToStandardErrorWithoutOne) {
    struct Seen {
        std::string text;
        static void take(ErrorType type, ErrorInfo* error, void* user) {
            static_cast<Seen*>(user)->text += std::to_string(type) + " " + error->file + ":" +
                                              std::to_string(error->line) + " " + error->message;
            err_delete(error);
        }
    } seen;
    msg_set_error_sink(Seen::take, &seen);
    ErrorInfo* error = ERR_XML_NO_TAGS();
    err_set_position(error, 12, "calc_import.cpp");
    msg_report_error(ERROR_TYPE_WARNING, error);
    EXPECT_EQ(seen.text, "3 calc_import.cpp:12 The XML document contains no known tags");

    msg_set_error_sink(nullptr, nullptr);
    testing::internal::CaptureStderr();
    msg_report_error(ERROR_TYPE_ERROR, ERR_FILE_OPEN("a"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: The file 'a' cannot be opened [ERR_FILE_OPEN]\n");
}

TEST(ProgressTest, JobsAreCountedFromOneAndTellWhatTheyDo) {
    static std::string events;
    static int first;
    const auto take = [](const MsgProgress* p, void*) {
        if (events.empty()) first = p->job;
        for (const int number : {p->started, p->job - first, p->kind, p->status})
            events += std::to_string(number) + " ";
        events += std::string(p->text) + "\n";
    };
    msg_set_progress_sink(take, nullptr);
    msg_report_prgs_start(MSG_PRGS_PROJECT, "Checking '%s'", "bike");
    const int outer = msg_get_progress_job();
    msg_report_prgs_start(MSG_PRGS_SUB_JOB, "Checking rules");
    msg_report_prgs_stop(msg_get_progress_job(), -1);
    msg_report_prgs_stop(outer, 0);
    msg_set_progress_sink(nullptr, nullptr);
    EXPECT_GE(outer, 1);
    EXPECT_EQ(events, "1 0 0 0 Checking 'bike'\n1 1 1 0 Checking rules\n0 1 0 -1 \n0 0 0 0 \n");
}

} // namespace
