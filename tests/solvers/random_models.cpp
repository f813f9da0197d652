// Writes random models and counts their solutions without flat rules: random_models DIRECTORY
// FIRST COUNT MOST writes DIRECTORY/SEED.pm for each seed from FIRST on, and prints a line for
// each: the seed, the number of solutions, "-" where more than MOST products would have to be
// looked at.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "reference.h"

using namespace norvane::test;

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    const auto number = [argv](int i) { return static_cast<unsigned>(std::atol(argv[i])); };
    for (unsigned seed = number(2); seed < number(2) + number(3); ++seed) {
        std::string source = Generator(seed).model();
        std::erase_if(source, [](char c) { return c == '\1' || c == '\2'; }); // needless brackets
        std::ofstream(std::string(argv[1]) + "/" + std::to_string(seed) + ".pm") << source;
        const unsigned most = number(4);
        unsigned solutions = 0;
        Reference reference(source);
        const double products = reference.for_each_product(most, [&](const Product& product) {
            solutions += std::ranges::count(reference.evaluate(product), 0) == 0;
        });
        if (products > most)
            std::printf("%u -\n", seed);
        else
            std::printf("%u %u\n", seed, solutions);
    }
}
