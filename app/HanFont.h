// The letters of the Chinese texts.
#pragma once

// Makes the application take Han letters in their simplified forms. Where the locale is no Chinese one the
// toolkit takes the Japanese forms out of the same family of fonts. Latin letters stay in the font they have,
// and nothing changes where the font with the simplified forms is missing. To be called once there is an
// application.
void PreferSimplifiedHan();
