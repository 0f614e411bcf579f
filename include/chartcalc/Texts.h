// The language of every user-visible text: each text exists as a pair
// (Korean in code page 949, English) and the library picks one at the moment
// of use, so a change takes effect at the next text read.
#pragma once

// The current language: 0 Korean, 1 English (the default).
int GetLangType();
void SetLangType(int lang);
