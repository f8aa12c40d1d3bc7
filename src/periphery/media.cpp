// Sounds, PlayWaveform, PlayMidi, PlayMedia: the multimedia functions.
// Each asks the system first whether it has a device of the kind needed
// and fails with a numbered error when it has none, so a machine without
// sound answers at once instead of waiting on a device that is not there.
#include "../core/bounded.h"
#include "../core/vars.h"
#include "../functions/families.h"
#include <cstdio>
#include <cstring>
#include <windows.h>
#include <mmsystem.h>

namespace tsl {

namespace {

const char MIDI_ALIAS[] = "tslmidi";
const char MIDI_CLOSE[] = "close tslmidi";

// Sounds(flag) -> the previous state; turns the error and box sounds of
// this context on (nonzero) or off until it shuts down. TSLPROCS.INI is
// not changed.
void fn_sounds(Context* ctx, Value* result, Value* args) {
    result->integer = ctx->sounds;
    ctx->sounds = args[1].integer != 0;
}

// A name without a path separator and without an extension is a sound
// alias ("SystemAsterisk"); anything else a file.
bool is_alias(const char* name) {
    return !strpbrk(name, "\\/:.");
}

// PlayWaveform(file or alias, wait) -> 1; wait 0 plays in the background
void fn_play_waveform(Context* ctx, Value* result, Value* args) {
    if (waveOutGetNumDevs() == 0) { fail(ctx, 1451); return; }
    const char* name = value_text(ctx, args[1]);
    DWORD how = SND_NODEFAULT | (args[2].integer ? SND_SYNC : SND_ASYNC) | (is_alias(name) ? SND_ALIAS : SND_FILENAME);
    if (!PlaySoundA(name, nullptr, how)) { fail(ctx, 1452); return; }
    result->integer = 1;
}

// Sends one MCI command; false with the error when it fails.
bool mci(Context* ctx, const char* command, char* answer, unsigned size, uint16_t error) {
    if (answer) answer[0] = 0;
    if (mciSendStringA(command, answer, answer ? size : 0, nullptr) == 0) return true;
    return fail(ctx, error);
}

// PlayMidi(file, wait) -> 1: the file on the MIDI sequencer; a new call
// ends the song that a call without waiting left playing.
void fn_play_midi(Context* ctx, Value* result, Value* args) {
    if (midiOutGetNumDevs() == 0) { fail(ctx, 1453); return; }
    char command[PATH_BUF + 64];
    mciSendStringA(MIDI_CLOSE, nullptr, 0, nullptr);   // the song of an earlier call, if any
    snprintf(command, sizeof command, "open \"%s\" type sequencer alias %s", value_text(ctx, args[1]), MIDI_ALIAS);
    if (!mci(ctx, command, nullptr, 0, 1454)) return;
    bool wait = args[2].integer != 0;
    snprintf(command, sizeof command, "play %s%s", MIDI_ALIAS, wait ? " wait" : "");
    bool ok = mci(ctx, command, nullptr, 0, 1454);
    if (wait || !ok) mciSendStringA(MIDI_CLOSE, nullptr, 0, nullptr);
    if (ok) result->integer = 1;
}

// PlayMedia(command) -> the MCI command's answer text ("" when it has
// none); a failing command is 1455 with the system's text in MciErrorText.
void fn_play_media(Context* ctx, Value* result, Value* args) {
    char answer[LINE_BUF];
    MCIERROR e = mciSendStringA(value_text(ctx, args[1]), answer, sizeof answer, nullptr);
    if (e) {
        char text[LINE_BUF] = "";
        if (!mciGetErrorStringA(e, text, sizeof text)) snprintf(text, sizeof text, "MCI error %lu", (unsigned long)e);
        var_set_text(ctx, "MciErrorText", text);
        fail(ctx, 1455);
        return;
    }
    answer[sizeof answer - 1] = 0;
    value_set_text(ctx, result, answer);
}

const FunctionEntry kTable[] = {
    {187, fn_play_media},      // PlayMedia
    {188, fn_play_midi},       // PlayMidi
    {189, fn_play_waveform},   // PlayWaveform
    {215, fn_sounds},          // Sounds
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyMedia, kTable)

} // namespace tsl
