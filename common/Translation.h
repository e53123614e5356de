#pragma once

class QTranslator;

/// Installing a window's translator in the application.
namespace Translation {

/// Installs @p translator, once, however often it was installed before, and makes Qt send its
/// language change events (two to the application: taking it out sends one as well). Qt itself
/// would keep one entry per installation and look every text up through all of them.
void install(QTranslator& translator);

/// Loads the file of the panel's bundle for a value of the language register, see
/// Languages::shown(), into @p translator. False when the file cannot be loaded; the translator is
/// then empty and texts show their source.
bool load(QTranslator& translator, unsigned language);

} // namespace Translation
