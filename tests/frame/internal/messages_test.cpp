// The printer of catalogue messages: empty line, formatting, the second
// formatting at printing, and the overflow exit.
#include <gtest/gtest.h>

#include <string>

#include "frame/messages.h"
#include "support/child_process.h"

namespace {

using qlm::frame::emit_message;
using qlm::test::run_in_child;

TEST(Messages, CatalogueRowsFormatted) {
    const auto got = run_in_child([] {
        emit_message(0, 0, 0);
        emit_message(1, 1, 1, "libx.so");
        emit_message(0, 2, 2, "a.so", "b.so");
        emit_message(1, 7, 2, 12, "vdExp");
        emit_message(1, 760, 0);
        emit_message(1, 761 + 5, 0);
    });
    EXPECT_EQ(got.exit_code, 0);
    EXPECT_EQ(got.output,
              "\nQLM FATAL ERROR: Cannot load libx.so\n"
              "QLM FATAL ERROR: Cannot load neither a.so nor b.so\n"
              "QLM INTERNAL ERROR: Condition 12 detected in function vdExp\n"
              "QLM FATAL ERROR: memory allocation error.\n"
              "Fourier descriptor: bad descriptor\n");
}

// The formatted text is printed as a format once more: a "%%" in an
// argument survives the first formatting as "%%" and prints as "%".
TEST(Messages, PercentSignIsFormattedAgainAtPrinting) {
    const auto got = run_in_child([] { emit_message(1, 3, 1, "name%%50"); });
    EXPECT_EQ(got.output, "QLM FATAL ERROR on load the function name%50\n");
}

TEST(Messages, OverlongMessageExitsWithCodeEight) {
    const auto got = run_in_child([] {
        const std::string long_name(600, 'x');
        emit_message(1, 3, 1, long_name.c_str());
    });
    EXPECT_EQ(got.exit_code, 8);
    // 37 characters of text and 600 of argument: L - 1 = 636.
    EXPECT_EQ(got.output,
              "\nQLM INTERNAL ERROR: message buffer overflow.\n"
              "       Message N 3   Lenght: 636   Buffer size: 512\n");
    const auto fits = run_in_child([] {
        const std::string name(476, 'y');  // L - 1 = 512 is still allowed
        emit_message(1, 3, 1, name.c_str());
    });
    EXPECT_EQ(fits.exit_code, 0);
    const auto one_more = run_in_child([] {
        const std::string name(477, 'y');
        emit_message(1, 3, 1, name.c_str());
    });
    EXPECT_EQ(one_more.exit_code, 8);
}

}  // namespace
