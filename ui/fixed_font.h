// fixed_font.h: the font for bytes and source texts.
#pragma once

#include <QFont>

/// The system's font of fixed pitch at its own size. It stays that one in a widget whose font names several families,
/// which a font that names a single one does not.
QFont fixedFont();
