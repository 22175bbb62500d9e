// Asked for by the thread sanitizer when there is one. Qt's network manager passes requests and answers between threads
// by means that the sanitizer does not see, Qt and GLib not being built with it. For this program only: elsewhere the
// same lines would hide how posted work is ordered.
extern "C" const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "called_from_lib:libQt6Network.so\n"
           "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libglib-2.0.so\n";
}
