// Every type of the public headers that a program makes, derives from or is given: what scripts/check-abi.sh compares.
#include <Account.h>
#include <Console.h>
#include <DBConnector.h>
#include <DBException.h>
#include <annomend.h>
#include <conform.h>

impsconverter::Account* account;
tarn::ConsoleScope* scope;
tarn::conformance::Conformed* conformed;
tarn::conformance::Finding* finding;
tarn::conformance::ImageSize* size;
tarn::conformance::ImageSizes* sizes;
tarn::db::DBConnector* db;
tarn::db::DBException* exception;
