// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPMUTILPARTPACKAGE_H
#define COMMUNICATOR_HTTPMUTILPARTPACKAGE_H

#include <communicator/httpjsonpackage.h>

namespace Krelm::Communicator::HttpDevice {

// Quirk: Misspelt names are part of the interface.
/// A package whose body is multipart/form-data (RFC 7578). The thread rules of HttpJsonPackage apply.
class COMMUNICATOR_EXPORT HttpMutilPartPackage : public HttpJsonPackage
{
    Q_OBJECT
public:
    /// An empty package of the calling thread.
    explicit HttpMutilPartPackage(QObject* parent);
    ~HttpMutilPartPackage() override;

    /// Sets the parts, keyed by field name. A QByteArray is sent as a binary part, the QUrl of a local file
    /// as that file with its name, a QString as text, and everything else as a JSON part. Files are read
    /// while they are sent; if one cannot be opened, the request ends with `FileFailure` before anything is
    /// sent. A content type among the request headers is ignored.
    void setHttpMultiPartData(const QMap<QString, QVariant>& parts);
    /// The parts given to setHttpMultiPartData().
    QMap<QString, QVariant> httpMultiPartData() const;

private:
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(HttpMutilPartPackage)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
