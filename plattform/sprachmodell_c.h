/* The system's on-device language model (macOS, FoundationModels) as plain C, implemented by
 * plattform/macos/sprachmodell.swift. Only text crosses: the tools' arguments as the JSON the
 * model generated, their answers and the answer's snapshots as UTF-8. Callbacks come on any
 * thread; none comes any more once hb_sitzung_frei has returned. */
#pragma once
#ifdef __cplusplus
extern "C" {
#endif

/* 0 available, 1 device not eligible, 2 Apple Intelligence switched off, 3 model not ready, 4 other */
int hb_modell_verfuegbarkeit(void);

/* A tool call: which tool (in the order added), its arguments, and the number to answer with. */
typedef void (*hb_werkzeug_ruf)(void* kontext, long werkzeug, const char* argumente, long aufruf);
typedef void (*hb_teil)(void* kontext, const char* schnappschuss);
/* fehler: 0 none, 1 the context window is full, 2 other (beschreibung from the system) */
typedef void (*hb_ende)(void* kontext, int fehler, const char* beschreibung);

void* hb_sitzung_neu(const char* anweisungen, hb_werkzeug_ruf ruf, void* kontext);
void hb_werkzeug_dazu(void* sitzung, const char* name, const char* beschreibung);
/* An argument of the tool added last: one text, or (liste != 0) a list of texts. */
void hb_argument_dazu(void* sitzung, const char* name, int liste, const char* fuehrung);
/* Makes the model session from what was added; 0 when the system refused the tools. */
int hb_sitzung_start(void* sitzung);
void hb_sitzung_frage(void* sitzung, const char* frage, hb_teil teil, hb_ende ende);
void hb_werkzeug_antwort(long aufruf, const char* text);
void hb_sitzung_frei(void* sitzung);

#ifdef __cplusplus
}
#endif
