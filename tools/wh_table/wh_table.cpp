// Generator of the WH family table: 273 rows of four moduli, four multipliers
// and the four reciprocals of the moduli.
//
//   g++ -O2 -std=c++20 tools/wh_table/wh_table.cpp -o /tmp/wh_table &&
//   /tmp/wh_table > src/random/streams/wh_table.cpp
//
// The rule:
// - Every modulus is a prime in [16766231, 16770647], just under 2^24, so a
//   product a x with a below 128 stays below 2^31 and the reciprocal trick of
//   the generator is exact.
// - Rows 0 to 3 and 272 are the fixed rows of the family.
// - Rows 4 to 271 take the primes strictly between row 3's last modulus and
//   row 272's first, in falling order, as Q[0..169].  Row 4 + u starts at
//   t = u * 166 / 267; the first row with a given start takes Q[t..t+3], the
//   second Q[t], Q[t+1], Q[t+2], Q[t+4].  So all rows are distinct and the
//   moduli fall through the table.
// - The multiplier of a modulus is its largest primitive root below 128,
//   except in the fixed rows, whose multipliers are as given (all of them
//   primitive roots too, which the tool checks).
// - The reciprocals are 1.0 / m in round-to-nearest, which IEEE division
//   rounds correctly; they are written as hexadecimal floating constants.
//
// Why each row is valid is printed to standard error: for each modulus the
// primality test, the prime factors q of m - 1, and a^((m-1)/q) mod m for
// each q, none of which is 1, which makes a a primitive root.  The tool
// exits with status 1 if any check fails.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

bool is_prime(uint32_t m) {
    if (m < 2) return false;
    for (uint32_t d = 2; d * d <= m; ++d)
        if (m % d == 0) return false;
    return true;
}

uint64_t pow_mod(uint64_t b, uint64_t e, uint64_t m) {
    uint64_t r = 1;
    b %= m;
    for (; e; e >>= 1) {
        if (e & 1) r = r * b % m;
        b = b * b % m;
    }
    return r;
}

std::vector<uint32_t> prime_factors(uint32_t n) {
    std::vector<uint32_t> f;
    for (uint32_t d = 2; d * d <= n; ++d)
        if (n % d == 0) {
            f.push_back(d);
            while (n % d == 0) n /= d;
        }
    if (n > 1) f.push_back(n);
    return f;
}

bool is_primitive_root(uint32_t a, uint32_t m) {
    for (uint32_t q : prime_factors(m - 1))
        if (pow_mod(a, (m - 1) / q, m) == 1) return false;
    return true;
}

uint32_t largest_primitive_root(uint32_t m) {
    for (uint32_t a = 127; a > 1; --a)
        if (is_primitive_root(a, m)) return a;
    return 0;
}

struct row {
    uint32_t m[4];
    uint32_t a[4];
};

bool explain(int index, const row& r) {
    bool good = true;
    for (int c = 0; c < 4; ++c) {
        const uint32_t m = r.m[c], a = r.a[c];
        const bool prime = is_prime(m);
        std::fprintf(stderr, "row %3d m%d = %u: %s; a = %u; m - 1 =", index, c + 1, m,
                     prime ? "prime" : "NOT PRIME", a);
        bool root = a > 1 && a < 128;
        for (uint32_t q : prime_factors(m - 1)) {
            const uint64_t p = pow_mod(a, (m - 1) / q, m);
            std::fprintf(stderr, " [q %u: a^((m-1)/q) = %llu]", q, static_cast<unsigned long long>(p));
            if (p == 1) root = false;
        }
        std::fprintf(stderr, " -> %s\n", root ? "primitive root" : "NOT A PRIMITIVE ROOT");
        good = good && prime && root && m >= 16766231 && m <= 16770647;
        if (c > 0 && !(r.m[c] < r.m[c - 1])) good = false;
    }
    return good;
}

}  // namespace

int main() {
    const row fixed_first[4] = {
        {{16770647, 16770643, 16770623, 16770617}, {125, 117, 127, 126}},
        {{16770311, 16770283, 16770263, 16770209}, {127, 126, 125, 123}},
        {{16769807, 16769771, 16769749, 16769663}, {125, 119, 123, 126}},
        {{16769591, 16769537, 16769479, 16769387}, {123, 125, 122, 126}},
    };
    const row fixed_last = {{16766363, 16766359, 16766327, 16766231}, {126, 127, 125, 124}};

    std::vector<uint32_t> q;
    for (uint32_t m = fixed_first[3].m[3] - 1; m > fixed_last.m[0]; --m)
        if (is_prime(m)) q.push_back(m);
    if (q.size() != 170) {
        std::fprintf(stderr, "expected 170 inner primes, found %zu\n", q.size());
        return 1;
    }

    std::vector<row> rows(fixed_first, fixed_first + 4);
    int previous_start = -1;
    for (int u = 0; u < 268; ++u) {
        const int t = u * 166 / 267;
        const int last = t == previous_start ? t + 4 : t + 3;
        previous_start = t;
        row r = {{q[t], q[t + 1], q[t + 2], q[last]}, {}};
        for (int c = 0; c < 4; ++c) r.a[c] = largest_primitive_root(r.m[c]);
        rows.push_back(r);
    }
    rows.push_back(fixed_last);

    bool good = true;
    for (std::size_t i = 0; i < rows.size(); ++i) good = explain(static_cast<int>(i), rows[i]) && good;
    for (std::size_t i = 0; i < rows.size() && good; ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (std::equal(rows[i].m, rows[i].m + 4, rows[k].m)) good = false;
    if (!good || rows.size() != 273) {
        std::fprintf(stderr, "check failed\n");
        return 1;
    }

    std::printf(
        "// WH family table: 273 rows of four prime moduli in [16766231, 16770647],\n"
        "// their multipliers (primitive roots below 128) and the correctly rounded\n"
        "// reciprocals 1/m.  Generated by tools/wh_table/wh_table.cpp; regenerate with\n"
        "//   g++ -O2 -std=c++20 tools/wh_table/wh_table.cpp -o /tmp/wh_table &&\n"
        "//   /tmp/wh_table > src/random/streams/wh_table.cpp\n"
        "// which checks primality and primitivity and prints the proof to stderr.\n"
        "#include \"random/streams/wh_table.h\"\n\n"
        "namespace qlm::random {\n\n"
        "const wh_family_row wh_family[273] = {\n");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const row& r = rows[i];
        std::printf("    {{%u, %u, %u, %u}, {%u, %u, %u, %u}, {%a, %a, %a, %a}},  // %zu\n", r.m[0], r.m[1],
                    r.m[2], r.m[3], r.a[0], r.a[1], r.a[2], r.a[3], 1.0 / r.m[0], 1.0 / r.m[1], 1.0 / r.m[2],
                    1.0 / r.m[3], i);
    }
    std::printf("};\n\n}  // namespace qlm::random\n");
    return 0;
}
