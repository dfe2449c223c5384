// The self-play match between two parameter sets. Front-end thread only.
#pragma once

// Plays the games of the match, prints the score after every ten and writes the games to
// PBlock.tool.match_file, until the user quits or all are played. When the parameters of player 1
// or the file cannot be opened it says so in one line. Requires StartUp and idle search threads.
void Tune_3();
