#include "crystal/SpaceGroupTables.h"

const int crystalSystemID[8] = {1, 3, 16, 75, 143, 168, 195, 231};
const int crystalLaueID[11] = {1, 3, 16, 75, 89, 143, 149, 168, 177, 195, 207};

const int spgr_orig_choice[24] = {48,  50,  59,  68,  70,  85,  86,  88,  125, 126, 129, 130,
                                  133, 134, 137, 138, 141, 142, 201, 203, 222, 224, 227, 228};

const char* const spgro_itI39[6] = {"A b m 2", "B m a 2", "B 2 c m", "C 2 m b", "C m 2 a", "A c 2 m"};
const char* const spgro_itI41[6] = {"A b a 2", "B b a 2", "B 2 c b", "C 2 c b", "C c 2 a", "A c 2 a"};
const char* const spgro_itI64[6] = {"C m c a", "C c m b", "A b m a", "A c a m", "B b c m", "B m a b"};
const char* const spgro_itI67[6] = {"C m m a", "C m m b", "A b m m", "A c m m", "B m c m", "B m a m"};
// Group 68 has two origin choices, so each symbol names two settings in a row.
const char* const spgro_itI68[12] = {"C c c a", "C c c a", "C c c b", "C c c b", "A b a a", "A b a a",
                                     "A c a a", "A c a a", "B b c b", "B b c b", "B b a b", "B b a b"};

const char* const* const spgro_itI[5] = {spgro_itI39, spgro_itI41, spgro_itI64, spgro_itI67, spgro_itI68};
const int spgro_itI_ID[5] = {39, 41, 64, 67, 68};
const int spgro_itI_N[5] = {6, 6, 6, 6, 12};

namespace {

bool isRhombohedralGroup(int n) {
    return n == 146 || n == 148 || n == 155 || n == 160 || n == 161 || n == 166 || n == 167;
}

}  // namespace

int CrystalSystemOf(int n) {
    if (n >= 195) return 7;
    if (n >= 168) return 6;
    if (n >= 143) return isRhombohedralGroup(n) ? 8 : 5;
    if (n >= 75) return 4;
    if (n >= 16) return 3;
    if (n >= 3) return 2;
    if (n >= 1) return 1;
    return 0;
}
