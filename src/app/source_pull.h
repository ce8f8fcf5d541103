// app/source_pull.h: the chosen source read, and what the user is told when that fails.
#pragma once

#include "app/run_console.h"
#include "app/source_choice.h"
#include "journal/journal_intake.h"
#include "journal/reading_settings.h"

// Hands all that could be read to `intake` and resolves its paths when that is asked for. Every failure was told.
void pull_source(opened_source opened, const reading_settings& asked, journal_intake& intake,
                 const run_console& console);
