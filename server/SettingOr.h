// The server's numeric settings count only when positive: 0 (or less)
// means "not set", and the server's own default applies.
#ifndef OM_SERVER_SETTINGOR_H_
#define OM_SERVER_SETTINGOR_H_

// `value` when positive, else `fallback`.
inline int settingOr(int value, int fallback) { return value > 0 ? value : fallback; }

#endif  // OM_SERVER_SETTINGOR_H_
