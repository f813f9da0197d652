// Frames and throws.
#include <gtest/gtest.h>

#include <semaphore>
#include <string>
#include <thread>

#include "norvane/base.h"
#include "support.h"

namespace {

using norvane::test::thrown;

std::string text(const ExceptionState& state) {
    return std::to_string(state.kind) + " " + state.file + ":" + std::to_string(state.line) + ": " +
           state.message + (__exception_caught ? "" : " (not caught)");
}

// Catches what the body throws, and passes it on unless it is malformed input.
void catch_malformed_input(void (*body)(void*)) {
    static ExceptionState state; // of every frame: a throw may go on into the state it comes from
    if (except_catch(body, nullptr, &state) && state.kind != EXCEPT_MALFORMED_INPUT)
        except_rethrow(&state);
}

TEST(ExceptTest, AnythingButMalformedInputIsPassedOnAsItWasThrown) {
    ExceptionState outer;
    for (const int kind : {0, 1, 2, 3}) {
        static int thrown_kind;
        thrown_kind = kind;
        const auto body = [](void*) {
            catch_malformed_input([](void*) {
                catch_malformed_input([](void*) {
                    except_report_errormsg("100%% of '%s'", "%s%n");
                    except_throw(thrown_kind, 42, "reader.cpp");
                });
                except_report_errormsg("too far");
            });
        };
        const int caught = except_catch(body, nullptr, &outer);
        EXPECT_EQ(caught, kind != EXCEPT_MALFORMED_INPUT) << kind;
        EXPECT_EQ(__exception_caught, caught) << kind;
        EXPECT_EQ(__exception_last, nullptr) << kind;
        if (caught) {
            EXPECT_EQ(text(outer), std::to_string(kind) + " reader.cpp:42: 100% of '%s%n'");
        }
    }
}

TEST(ExceptTest, AFrameMadeByHandCatchesAndKeepsItsVolatiles) {
    ExceptionState state;
    ExceptionFrame frame;
    ExceptionFrame* const saved = __exception_last;
    volatile int steps = 1;
    frame.previous = saved;
    frame.state = &state;
    __exception_last = &frame;
    if (setjmp(frame.buffer) == 0) {
        steps = 2;
        ExceptionState inner; // a frame inside ends before, whichever way
        EXPECT_EQ(except_catch([](void*) {}, nullptr, &inner), 0);
        EXPECT_EQ(__exception_caught, 0);
        EXPECT_EQ(thrown([] { NORVANE_ASSERT(nullptr != nullptr); }), "1: nullptr != nullptr");
        EXPECT_EQ(__exception_last, &frame);
        NORVANE_FAIL("Invalid expression structure '%d'", 77);
    } else {
        __exception_caught = 1;
    }
    __exception_last = saved;
    EXPECT_EQ(steps, 2);
    EXPECT_EQ(std::string(state.message), "Invalid expression structure '77'");
    EXPECT_EQ(state.kind, EXCEPT_ASSERTION);
}

TEST(ExceptTest, LongTextsAreCutAndTheTextStaysForTheNextThrow) {
    const std::string name(3000, 'x');
    EXPECT_EQ(thrown([&] { except_fail(1, name.c_str(), "%s", name.c_str()); }),
              "1: " + name.substr(0, MESSAGE_BUFFER_SIZE - 1));
    EXPECT_EQ(thrown([&] { except_throw(3, 1, "x.cpp"); }),
              "3: " + name.substr(0, MESSAGE_BUFFER_SIZE - 1));
}

TEST(ExceptTest, EachThreadThrowsToItsOwnFrames) {
    std::binary_semaphore is_inside{0};
    std::binary_semaphore may_throw{0};
    std::string text_of_other;
    std::thread other([&] {
        text_of_other = thrown([&] {
            is_inside.release();
            may_throw.acquire();
            NORVANE_FAIL("of the other");
        });
    });
    is_inside.acquire();
    EXPECT_EQ(thrown([&] {
                  may_throw.release();
                  other.join(); // its frame was made first, and ends first
                  NORVANE_FAIL("of this");
              }),
              "1: of this");
    EXPECT_EQ(text_of_other, "1: of the other");
    // What is there now is the frame of a thread that has ended.
    EXPECT_EXIT(except_fail(1, "host.cpp", "no frame"), testing::KilledBySignal(SIGABRT),
                "^host.cpp:1: no frame\n$");
    EXPECT_EQ(thrown([] { NORVANE_FAIL("again"); }), "1: again");
    __exception_last = nullptr;
}

TEST(ExceptDeathTest, AThreadDoesNotThrowToAFrameOfAnother) {
    const auto fail_in_other_thread = [] {
        std::thread([] { except_fail(1, "host.cpp", "no frame"); }).join();
    };
    EXPECT_EXIT(thrown(fail_in_other_thread), testing::KilledBySignal(SIGABRT),
                "^host.cpp:1: no frame\n$");
}

TEST(ExceptDeathTest, AThrowWithoutAFrameSaysWhereAndWhatAndAborts) {
    EXPECT_EXIT(except_fail(12, "typecon.cpp", "%s == %d", "tag", 3),
                testing::KilledBySignal(SIGABRT), "^typecon.cpp:12: tag == 3\n$");
    EXPECT_EXIT(except_assertion_failed("typecon", 7, "typecon.cpp"),
                testing::KilledBySignal(SIGABRT), "^typecon.cpp:7: typecon\n$");
}

} // namespace
