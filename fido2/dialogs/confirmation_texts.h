// confirmation_texts.h: what the user reads of a confirmation request. All values in it come from outside and are shown
// on one line each, without anything that could pass for another part of the dialog.
#pragma once

#include <QJsonObject>
#include <QString>

/// What is asked, in one line.
QString confirmationHeading(const QString& operation);

/// Which site asks which user for what; empty except for "make_credential" and "get_assertion".
QString confirmationDetails(const QString& operation, const QJsonObject& data);

/// One entry of the list of credentials to sign in with.
QString credentialChoice(const QJsonObject& candidate);

/// The whole request and what its fields mean.
QString completeRequestText(const QString& operation, const QJsonObject& data);

/// The operation concerns a sign-in without user name, for which the user picks one of availableCredentials.
bool isPasswordlessLogin(const QJsonObject& data);

/// That and there is something to pick.
bool offersCredentials(const QJsonObject& data);
