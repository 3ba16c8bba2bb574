/* handle.h: the language handle: language, territory, character set, sort, calendar and formats.
 *
 * A handle is caller-owned, may be copied by assignment and is used by one thread at a time. It is
 * built by lxhLangEnv (environment) or lxhLaToId (text) and then adjusted item by item. */
#ifndef KESTRA_HANDLE_H
#define KESTRA_HANDLE_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Handle flags: the character set's facts and the display order. */
enum {
  KES_HANDLE_RTL = 1u << 0,        /* right-to-left display */
  KES_CHARSET_SINGLE = 1u << 4,    /* single-byte */
  KES_CHARSET_STATEFUL = 1u << 18, /* shift-out and shift-in bytes */
  KES_CHARSET_UTF16 = 1u << 26,    /* two-byte code units */
  KES_CHARSET_UTF8 = 1u << 28,     /* UTF-8 forms: length by the first byte */
  KES_CHARSET_GB18030 = 1u << 29   /* 1, 2 or 4 bytes by the byte values */
};

/* Item codes of lxhlmod, lxhlinfo and lxhninfo that have a name. 0-6 days, 7-13 short days, 14-25
 * months, 26-37 short months; docs/items.md lists all of them. */
enum {
  KES_ITEM_DAY = 0,
  KES_ITEM_SHORT_DAY = 7,
  KES_ITEM_MONTH = 14,
  KES_ITEM_SHORT_MONTH = 26,
  KES_ITEM_SORT_DEFAULT = 38,
  KES_ITEM_DIRECTION = 39,
  KES_ITEM_AM = 40,
  KES_ITEM_PM = 41,
  KES_ITEM_AD = 42,
  KES_ITEM_BC = 43,
  KES_ITEM_STANDALONE_MONTH = 44,
  KES_ITEM_YES = 56,
  KES_ITEM_NO = 57,
  KES_ITEM_TAG = 58,
  KES_ITEM_ENGLISH_NAME = 59,
  KES_ITEM_LANGUAGE = 60,
  KES_ITEM_NATIVE_NAME = 61,
  KES_ITEM_LANGUAGE_CHARSET = 62,
  KES_ITEM_LANGUAGE_TERRITORY = 63,
  KES_ITEM_CURRENCY = 69,
  KES_ITEM_ISO_CURRENCY = 70,
  KES_ITEM_NUMERIC_CHARACTERS = 71,
  KES_ITEM_MONETARY_CHARACTERS = 72,
  KES_ITEM_LIST_SEPARATOR = 73,
  KES_ITEM_DEBIT = 74,
  KES_ITEM_CREDIT = 75,
  KES_ITEM_DATE_FORMAT = 76,
  KES_ITEM_DATE_LANGUAGE = 77,
  KES_ITEM_TERRITORY = 78,
  KES_ITEM_CHARSET = 79,
  KES_ITEM_SORT = 80,
  KES_ITEM_CALENDAR = 81,
  KES_ITEM_DISPLAY_NAME = 82,
  KES_ITEM_DISPLAY_DIRECTION = 83,
  KES_ITEM_DISPLAY_CHARSET = 84,
  KES_ITEM_FIRST_DAY = 97,
  KES_ITEM_FIRST_WEEK_DAYS = 98,
  KES_ITEM_CURRENCY_DIGITS = 99,
  KES_ITEM_ISO_NUMBER = 100,
  KES_ITEM_LONGEST_CHARACTER = 101,
  KES_ITEM_SHORTEST_CHARACTER = 102,
  KES_ITEM_CALENDAR_KIND = 103,
  KES_ITEM_CALENDAR_MONTHS = 104,
  KES_ITEM_YEAR_OFFSET = 105,
  KES_ITEM_STORAGE_ORDER = 108,
  KES_ITEM_NLS_LANG = 109,
  KES_ITEM_COMP = 119,
  KES_ITEM_DUAL_CURRENCY = 121,
  KES_ITEM_TIME_FORMAT = 126,
  KES_ITEM_TIMESTAMP_FORMAT = 127,
  KES_ITEM_TIME_TZ_FORMAT = 128,
  KES_ITEM_TIMESTAMP_TZ_FORMAT = 129,
  KES_ITEM_LENGTH_SEMANTICS = 130,
  KES_ITEM_CONV_EXCP = 131,
  KES_ITEM_IMP_CONV = 132,
  KES_ITEM_LONG_DATE = 143,
  KES_ITEM_TIME = 144,
  KES_ITEM_CALENDAR_DATE_FORMAT = 149,
  KES_ITEM_LOCALE_TAG = 150,
  KES_ITEM_SHORT_DATE = 151
};

/* A text of the handle, in the handle's character set. */
typedef struct lxtext {
  uint8_t length;
  uint8_t bytes[255];
} lxtext;

/* Index of a text in lxhandle.text. */
enum {
  KES_TEXT_CURRENCY,
  KES_TEXT_ISO_CURRENCY,
  KES_TEXT_NUMERIC,
  KES_TEXT_MONETARY,
  KES_TEXT_LIST,
  KES_TEXT_DEBIT,
  KES_TEXT_CREDIT,
  KES_TEXT_DATE_FORMAT,
  KES_TEXT_DUAL_CURRENCY,
  KES_TEXT_TIME,
  KES_TEXT_TIMESTAMP,
  KES_TEXT_TIME_TZ,
  KES_TEXT_TIMESTAMP_TZ,
  KES_TEXT_COUNT
};

/* The language handle: 4096 bytes. */
typedef struct lxhandle {
  lxcontext *context; /* back pointer */
  uint32_t flags;     /* KES_HANDLE_RTL and the KES_CHARSET_ bits */
  uint32_t flags2;    /* bit 4 visual storage order; others: the implementation's */
  uint16_t valid;     /* 1 once built */
  uint16_t charset_id;
  uint16_t charset_slot; /* of the object whose class table serves the set */
  uint16_t language_slot;
  uint16_t territory_slot;
  uint16_t date_language_slot;
  uint16_t sort_slot;            /* 0: binary */
  uint16_t calendar_slot;        /* 0: Gregorian */
  uint16_t display_charset_slot; /* 0: none */
  uint16_t display_charset_id;
  uint16_t default_charset_id; /* of the language */
  uint16_t default_territory_slot;
  uint16_t supplement_slot;
  uint16_t length_semantics; /* 0 byte, 1 char */
  uint16_t constant_12;      /* 12 once parsed */
  uint16_t constant_1;       /* 1 once parsed */
  uint32_t sort_flags;       /* collation identifier without its number */
  uint32_t comparison;       /* 0 binary, bit 0 ANSI, bit 1 linguistic */
  uint32_t text_set;         /* bit n: text[n] was set by the caller; else the territory's value */
  uint32_t class_table;      /* offset of the class table inside the character-set object */
  uint8_t shifted_width;     /* stateful sets: bytes of a character in the shifted state */
  uint8_t shift_in;
  uint8_t shift_out;
  uint8_t display_length;
  uint8_t display_name[40]; /* not terminated when full (39 bytes) */
  uint8_t conv_excp;        /* NCHAR_CONV_EXCP: 1 true */
  uint8_t imp_conv;         /* NCHAR_IMP_CONV: 1 true */
  uint16_t sort_parameter_length;
  uint8_t sort_parameters[62]; /* what a UCA sort name carried after its name */
  uint8_t spare[588];
  lxtext text[KES_TEXT_COUNT];
} lxhandle;

/* lxhLangEnv: builds a handle from the environment.
 *
 * handle   caller-owned; zeroed first where it is built anew. Its member valid is 1 afterwards.
 * mode     0 full build: NLS_LANG, the other parameters in table order, NLS_DISPLAY; 1 as 0 but
 *          null when NLS_LANG is unset; 2 only validates NLS_LANG (error word; null with error 0
 *          when it is unset); other: applies the parameters other than NLS_LANG to the handle as
 *          it stands.
 * Result   the handle, or null. NLS_LANG is read, and the handle built, once per process (run mode
 *          2: per thread); a later change of the environment is not seen.
 * Errors   with a handle: that of the last parameter whose value was bad (see lxhlmod; 6: longer
 *          than 255 bytes, of NLS_LANG 4096), which left its default. Without: 34 an object cannot
 *          be loaded; mode 2 also 18, 7, 19 an unknown component.
 * Texts of the environment are in the handle's character set where that contains ASCII, else they
 * are ASCII or UTF-8 and are converted.
 * Threads  takes the process lock. */
KES_API lxhandle *lxhLangEnv(lxhandle *handle, uint32_t mode, lxcontext *context) KES_NOEXCEPT;

/* lxhenvquery: the worker of lxhLangEnv. mode 1: only the parameters other than NLS_LANG; 2 and 3
 * read NLS_LANG first; 3 answers null when it is unset. */
KES_API lxhandle *lxhenvquery(lxhandle *handle, uint32_t mode, lxcontext *context) KES_NOEXCEPT;

/* lxhLaToId: builds a handle from "LANGUAGE_TERRITORY.CHARSET", every component optional.
 * mode     0: text is NUL-terminated (null: empty), 1: counted, unknown components take defaults,
 *          2: counted and strict.
 * Errors   18, 7, 19 in mode 2: unknown language, character set, territory; 34 the object of a known
 *          one cannot be loaded. The handle is zeroed then. */
KES_API lxhandle *lxhLaToId(const char *text, size_t length, lxhandle *handle, uint32_t mode,
                            lxcontext *context) KES_NOEXCEPT;

/* lxhlmod: sets one item (69 to 132) from its text.
 *
 * value    counted text; empty with reset non-zero restores the default, without it changes
 *          nothing. Names and keywords are ASCII in any case. Texts (currencies, separators,
 *          formats) are in the handle's character set and stored as given, up to 255 bytes; of item
 *          71 the first two characters, which must differ and in a single-byte set be neither digit
 *          nor + - < >.
 * Result   1 done, 0 not; then the handle is unchanged, but that a bad storage order means logical.
 * Errors   25, 29, 31, 32, 33 by item; 26 item, language, sort or calendar unknown (an unknown
 *          territory or character set takes the language's default); 34 its object cannot be
 *          loaded; 6 text too long; 7, 18, 19 an unknown component of item 109; 0 bad value of item
 *          71.
 * A territory drops the texts that were set, a calendar the date format; a character set carries
 * the texts over; a language brings its defaults for the items that follow it. */
KES_API int lxhlmod(lxhandle *handle, const char *value, size_t length, uint32_t item,
                    uint32_t reserved, int reset, lxcontext *context) KES_NOEXCEPT;

/* lxhlinfo: writes an item's text in the handle's character set.
 *
 * item     0 to 151, see docs/items.md.
 * buffer   not terminated; room 0 answers 0, less than 2 (4 for two-byte code units) sets 6.
 * Result   bytes written.
 * Errors   20 for the ids 1000 and 2002 (one or two bytes are zeroed); 6 cut at a character; 26 no
 *          such item; 34 an object of the handle cannot be loaded. */
KES_API size_t lxhlinfo(const lxhandle *handle, uint32_t item, uint8_t *buffer, size_t room,
                        lxcontext *context) KES_NOEXCEPT;

/* lxhninfo: a numeric item (docs/items.md), for example 97 the first day of the week, 0 Sunday. An
 * unknown item answers 0 with error 26. */
KES_API uint32_t lxhninfo(const lxhandle *handle, uint32_t item, lxcontext *context) KES_NOEXCEPT;

/* Ids and names. kind: 60 language, 78 territory, 79 character set, 80 linguistic sort; 81 calendar
 * too. Names are static for the life of the area. The sets 1000, 2002 and 9994 to 9999 have names
 * without having a directory entry. Errors 13 unknown kind, 26 not found (null or 0).
 * flags    may be null; bits 14-15 the id word's flags, bits 16-31 the entry's two flag bytes. */
KES_API const char *lxhid2name(uint32_t kind, uint32_t id, lxcontext *context) KES_NOEXCEPT;
KES_API const char *lxphid2name(uint32_t kind, uint32_t id, uint32_t *flags,
                                lxcontext *context) KES_NOEXCEPT;
KES_API uint32_t lxhname2id(uint32_t kind, const char *name, lxcontext *context) KES_NOEXCEPT;

/* lxhnames: the names of a kind one after the other, by ascending id; the kinds are those of
 * lxhid2name. index counts from 0. Character sets end with the ids that have names but no directory
 * entry (1000, 2002).
 * id       may be null; the id of the name.
 * Result   the name, static for the life of the area; null with error 26 past the last one, and
 * with 13 for an unknown kind. Threads  no shared state but the area, which is only read. */
KES_API const char *lxhnames(uint32_t kind, size_t index, uint32_t *id,
                             lxcontext *context) KES_NOEXCEPT;

/* lxhdisp: applies an NLS_DISPLAY value, "NAME_RTL.CHARSET". Returns 1, or 0 when the character set
 * cannot be displayed (then there is none). */
KES_API int lxhdisp(const char *text, size_t length, lxhandle *handle,
                    lxcontext *context) KES_NOEXCEPT;

/* Lookups by counted name, ignoring case: the id, or 0 when unknown. */
KES_API uint32_t lxplget(const char *name, size_t length, lxcontext *context) KES_NOEXCEPT;
KES_API uint32_t lxptget(const char *name, size_t length, lxcontext *context) KES_NOEXCEPT;
KES_API uint32_t lxpcget(const char *name, size_t length, lxcontext *context) KES_NOEXCEPT;
KES_API uint32_t lxedget(const char *name, size_t length, lxcontext *context) KES_NOEXCEPT;
/* lxpsget also splits the suffix of a sort's name off: *base_length is the length of the name
 * proper and *flags the collation identifier without its number: _AI 0x10000, _CI 0x20000. Sorts of
 * the Unicode engine take parameters instead: _S1 to _S4 the levels compared (0x10000, 0x20000, 0,
 * 0x30000), _BY accents compared backwards (0x400000), _BN not. BINARY has the id 16383. Both
 * pointers may be null. */
KES_API uint32_t lxpsget(const char *name, size_t length, uint32_t *flags, size_t *base_length,
                         lxcontext *context) KES_NOEXCEPT;

/* Install by id into a handle: 1 done, 0 when the object cannot be loaded (handle unchanged).
 * lxplset makes it the date language too. lxpcset also carries the handle's texts over into the new
 * character set; lxptset drops the texts that were set, so that the new territory's formats hold.
 * lxpdcset: display character set, which needs the display flag. lxpsset: 0 or 16383 is binary. */
KES_API int lxplset(uint32_t id, lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxptset(uint32_t id, lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxpcset(uint32_t id, lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxpdcset(uint32_t id, lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxpsset(uint32_t id, uint32_t flags, lxhandle *handle, lxcontext *context) KES_NOEXCEPT;

/* lxpcobj: the character-set object of an id for lxgcnv, loaded when needed; also of the ids
 * without a directory entry (1000, 2002, 9994 to 9999). Null with error 34 when it cannot be
 * loaded. */
KES_API const lxobject *lxpcobj(uint32_t id, lxcontext *context) KES_NOEXCEPT;
/* lxhcsobj: the same for the handle's own character set. */
KES_API const lxobject *lxhcsobj(const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;

/* The 24 environment variable names in 32-byte slots, in the order in which they are applied. */
extern KES_API const char lxhenvqnames[24][32];

#ifdef __cplusplus
}
#endif
#endif
