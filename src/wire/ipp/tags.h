/// The numbers of the IPP wire format that this system names.
#pragma once

namespace Corvix::Ipp {

/// Delimiters of attribute groups (below 0x10) and the tags of values.
namespace Tag {
constexpr unsigned char OperationAttributes = 0x01;
constexpr unsigned char JobAttributes = 0x02;
constexpr unsigned char EndOfAttributes = 0x03;
constexpr unsigned char PrinterAttributes = 0x04;
constexpr unsigned char UnsupportedAttributes = 0x05;
constexpr unsigned char FirstValue = 0x10;
/// Out-of-band values say why there is none. They reach to FirstTyped.
constexpr unsigned char Unsupported = 0x10;
constexpr unsigned char Unknown = 0x12;
constexpr unsigned char NoValue = 0x13;
constexpr unsigned char FirstTyped = 0x20;
constexpr unsigned char Integer = 0x21;
constexpr unsigned char Boolean = 0x22;
constexpr unsigned char Enum = 0x23;
constexpr unsigned char OctetString = 0x30;
constexpr unsigned char DateTime = 0x31;
constexpr unsigned char Resolution = 0x32;
constexpr unsigned char RangeOfInteger = 0x33;
constexpr unsigned char BegCollection = 0x34;
constexpr unsigned char TextWithLanguage = 0x35;
constexpr unsigned char NameWithLanguage = 0x36;
constexpr unsigned char EndCollection = 0x37;
constexpr unsigned char TextWithoutLanguage = 0x41;
constexpr unsigned char NameWithoutLanguage = 0x42;
constexpr unsigned char Keyword = 0x44;
constexpr unsigned char Uri = 0x45;
constexpr unsigned char UriScheme = 0x46;
constexpr unsigned char Charset = 0x47;
constexpr unsigned char NaturalLanguage = 0x48;
constexpr unsigned char MimeMediaType = 0x49;
constexpr unsigned char MemberAttrName = 0x4A;
}  // namespace Tag

namespace Operation {
constexpr int PrintJob = 2;
constexpr int PrintUri = 3;
constexpr int CreateJob = 5;
constexpr int SendDocument = 6;
constexpr int SendUri = 7;
constexpr int CancelJob = 8;
constexpr int GetJobAttributes = 9;
constexpr int GetJobs = 10;
constexpr int GetPrinterAttributes = 11;
/// Print-Job with a streamed body: the engine's own number, which never reaches the wire.
constexpr int StreamedPrintJob = 50;
}  // namespace Operation

namespace Status {
constexpr unsigned Ok = 0;
/// This and all above it: the request was not carried out.
constexpr unsigned FirstError = 0x0400;
/// What the engine takes for "not found": such an answer still carries what was found. (The registry of IPP
/// gives that name to 0x0406, and calls this one "not possible".)
constexpr unsigned ClientErrorNotFound = 0x0404;
}  // namespace Status

/// Units of a resolution.
constexpr unsigned char DotsPerInch = 3;
constexpr unsigned char DotsPerCentimeter = 4;

}  // namespace Corvix::Ipp
